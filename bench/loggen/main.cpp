// velmora-loggen: writes log files like the server's for benchmarks and tests.

#include <cerrno>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>
#include <sys/stat.h>

#include "loggen/LogGenerator.h"

namespace {

using velmora::bench::LogGenerator;
using velmora::bench::LogGeneratorOptions;

constexpr const char* kUsage =
    "usage: velmora-loggen --out DIR [--size BYTES] [--files N] [--seed N]\n"
    "                      [--start SECONDS] [--span DURATION]\n"
    "\n"
    "Writes N log files (events-000.log, ...) into DIR, together SIZE bytes at most\n"
    "(suffix K, M, G or T for powers of 1024; default 64M), with dates rising from\n"
    "START (seconds since 1970, default 1700000000) through SPAN (seconds, or with\n"
    "suffix s, m, h or d; default 30d). The same options always give the same bytes.\n";

struct Arguments {
    std::string out;
    LogGeneratorOptions options;
};

int fail(const std::string& message) {
    std::fprintf(stderr, "velmora-loggen: %s\n", message.c_str());
    return 2;
}

template <typename T>
bool parseInteger(std::string_view text, T& value) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() && end == text.data() + text.size();
}

// Returns an empty text when the arguments are good, else what is wrong.
std::string parse(int argc, char** argv, Arguments& arguments) {
    LogGeneratorOptions& options = arguments.options;
    for (int i = 1; i < argc; ++i) {
        const std::string_view name = argv[i];
        if (i + 1 >= argc) {
            return "missing value for " + std::string(name);
        }
        const std::string_view value = argv[++i];
        if (name == "--out") {
            arguments.out = value;
        } else if (name == "--size") {
            const auto size = velmora::bench::parseByteSize(value);
            if (!size) {
                return size.error().message;
            }
            options.totalBytes = *size;
        } else if (name == "--files") {
            if (!parseInteger(value, options.files) || options.files == 0) {
                return "--files needs a positive number";
            }
        } else if (name == "--seed") {
            if (!parseInteger(value, options.seed)) {
                return "--seed needs a number";
            }
        } else if (name == "--start") {
            if (!parseInteger(value, options.startSeconds) || options.startSeconds < 0) {
                return "--start needs seconds since 1970";
            }
        } else if (name == "--span") {
            const auto span = velmora::bench::parseDuration(value);
            if (!span || *span < 0) {
                return span ? "--span must not be negative" : span.error().message;
            }
            options.spanSeconds = *span;
        } else {
            return "unknown option " + std::string(name);
        }
    }
    return arguments.out.empty() ? "--out is required" : "";
}

} // namespace

int main(int argc, char** argv) {
    if (argc == 2 && (std::strcmp(argv[1], "--help") == 0 || std::strcmp(argv[1], "-h") == 0)) {
        std::fputs(kUsage, stdout);
        return 0;
    }
    Arguments arguments;
    if (const std::string problem = parse(argc, argv, arguments); !problem.empty()) {
        std::fputs(kUsage, stderr);
        return fail(problem);
    }
    if (::mkdir(arguments.out.c_str(), 0755) != 0 && errno != EEXIST) {
        return fail(arguments.out + ": " + std::strerror(errno));
    }
    const auto start = std::chrono::steady_clock::now();
    const LogGenerator generator(arguments.options);
    if (const velmora::Status written = generator.writeFiles(arguments.out); !written) {
        return fail(written.error().message);
    }
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    std::fprintf(stderr, "velmora-loggen: %zu file(s) in %s, %.2f s\n", arguments.options.files,
                 arguments.out.c_str(), took.count());
    return 0;
}
