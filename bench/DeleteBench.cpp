// Deleting 1,000 events selected among ten million: the rewrite of the log files that hold them.
//
//   bench_delete [benchmark flags] [DIR]
//
// DIR holds log files (for example written by velmora-loggen); without it, VELMORA_BENCH_BYTES
// (default 1430M, about ten million events) are generated into ten files under the temporary
// folder. The files are never changed: each iteration rewrites a fresh copy, made untimed. The
// figure is the bytes of the files holding selected lines over the time of the rewrite; the
// second benchmark, the same files read whole and written back, is the bound it is held to.

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <random>
#include <string>
#include <string_view>
#include <unistd.h>
#include <vector>

#include <benchmark/benchmark.h>

#include "core/eventlog/DeletionTable.h"
#include "core/eventlog/LogDirectory.h"
#include "core/eventlog/LogLineReader.h"
#include "core/eventlog/LogRewriter.h"
#include "loggen/LogGenerator.h"

namespace {

namespace fs = std::filesystem;
using namespace velmora;

constexpr std::size_t kSelected = 1000;

struct Setup {
    fs::path pristine; // the logs as generated or given
    fs::path work;     // the copy each iteration rewrites
    std::vector<std::string> selected;
    std::uint64_t bytesHolding = 0; // of the files that hold a selected line
    std::size_t events = 0;
    bool generated = false;
};

Setup g_setup;

// Lines of whole seconds only: one with a fraction never matches a selected event's line.
bool isWholeSecondsLine(std::string_view piece) {
    const std::optional<LogFields> fields = parseLogPiece(piece);
    return fields && piece.back() == '\n' && fields->date.find('.') == std::string_view::npos;
}

// Picks the selected lines evenly at random over every line of every file.
bool selectLines() {
    std::mt19937_64 random(42);
    const Result<std::vector<std::string>> names = listLogFiles(g_setup.pristine.string());
    if (!names || names->empty()) {
        std::fprintf(stderr, "bench_delete: no log files in %s\n", g_setup.pristine.c_str());
        return false;
    }
    std::vector<char> content;
    std::size_t seen = 0;
    std::vector<std::pair<std::string, std::size_t>> reservoir; // line, file index
    for (std::size_t file = 0; file < names->size(); ++file) {
        if (!readFileInto((g_setup.pristine / (*names)[file]).string(), content)) {
            return false;
        }
        forEachPiece(std::string_view(content.data(), content.size()), [&](std::string_view p) {
            if (!isWholeSecondsLine(p)) {
                return;
            }
            ++seen;
            if (reservoir.size() < kSelected) {
                reservoir.emplace_back(std::string(p), file);
            } else if (const std::size_t slot = random() % seen; slot < kSelected) {
                reservoir[slot] = {std::string(p), file};
            }
        });
    }
    std::vector<bool> holds(names->size());
    for (auto& [line, file] : reservoir) {
        g_setup.selected.push_back(std::move(line));
        holds[file] = true;
    }
    for (std::size_t file = 0; file < names->size(); ++file) {
        if (holds[file]) {
            g_setup.bytesHolding += fs::file_size(g_setup.pristine / (*names)[file]);
        }
    }
    g_setup.events = seen;
    return true;
}

bool prepare(int argc, char** argv) {
    const fs::path base =
        fs::temp_directory_path() / ("velmora-bench-delete-" + std::to_string(::getpid()));
    g_setup.work = base / "work";
    if (argc > 1) {
        g_setup.pristine = argv[1];
    } else {
        bench::LogGeneratorOptions options;
        options.files = 10;
        options.totalBytes = std::uint64_t{1430} << 20;
        if (const char* bytes = std::getenv("VELMORA_BENCH_BYTES")) {
            const Result<std::uint64_t> size = bench::parseByteSize(bytes);
            if (!size) {
                std::fprintf(stderr, "bench_delete: %s\n", size.error().message.c_str());
                return false;
            }
            options.totalBytes = *size;
        }
        g_setup.pristine = base / "logs";
        g_setup.generated = true;
        fs::create_directories(g_setup.pristine);
        if (const Status written = bench::LogGenerator(options).writeFiles(g_setup.pristine);
            !written) {
            std::fprintf(stderr, "bench_delete: %s\n", written.error().message.c_str());
            return false;
        }
    }
    return selectLines();
}

void copyLogs() {
    fs::remove_all(g_setup.work);
    fs::create_directories(g_setup.work);
    for (const fs::directory_entry& entry : fs::directory_iterator(g_setup.pristine)) {
        fs::copy_file(entry.path(), g_setup.work / entry.path().filename());
    }
}

void deleteSelected(benchmark::State& state) {
    RewriteReport report;
    for (auto _ : state) {
        state.PauseTiming();
        copyLogs();
        DeletionTable table;
        for (const std::string& line : g_setup.selected) {
            table.add(line);
        }
        // The copy's pages go to the disk now, not while the rewrite is timed.
        ::sync();
        state.ResumeTiming();
        report = LogRewriter(g_setup.work.string()).rewrite(table);
        benchmark::DoNotOptimize(report);
    }
    std::int64_t deleted = 0;
    for (const Severity severity : kAllSeverities) {
        deleted += report.deleted[severity];
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(g_setup.bytesHolding));
    state.counters["events"] = static_cast<double>(g_setup.events);
    state.counters["deleted"] = static_cast<double>(deleted);
    state.counters["files"] = static_cast<double>(report.filesRewritten);
    state.counters["writtenMB"] = static_cast<double>(report.bytesWritten) / 1e6;
}

// The bound: each file read whole and written back in place, with nothing to decide.
void rewriteWholeFiles(benchmark::State& state) {
    std::vector<char> content;
    for (auto _ : state) {
        state.PauseTiming();
        copyLogs();
        ::sync();
        state.ResumeTiming();
        for (const fs::directory_entry& entry : fs::directory_iterator(g_setup.work)) {
            const int fd = ::open(entry.path().c_str(), O_RDWR | O_CLOEXEC);
            content.resize(static_cast<std::size_t>(entry.file_size()));
            const bool done = fd >= 0 &&
                              ::pread(fd, content.data(), content.size(), 0) ==
                                  static_cast<ssize_t>(content.size()) &&
                              ::pwrite(fd, content.data(), content.size(), 0) ==
                                  static_cast<ssize_t>(content.size());
            ::close(fd);
            if (!done) {
                state.SkipWithError("cannot rewrite the copy");
                return;
            }
        }
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(g_setup.bytesHolding));
}

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (!prepare(argc, argv)) {
        return 1;
    }
    benchmark::RegisterBenchmark("Delete1000Of10M", deleteSelected)
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime()
        ->Iterations(5);
    benchmark::RegisterBenchmark("ReadAndWriteBackWhole", rewriteWholeFiles)
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime()
        ->Iterations(5);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    fs::remove_all(g_setup.work.parent_path() / "work");
    if (g_setup.generated) {
        fs::remove_all(g_setup.pristine);
    }
    fs::remove(g_setup.work.parent_path());
    return 0;
}
