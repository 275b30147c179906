// The log-line reader's speed on a warm buffer: cutting pieces, splitting fields, checking
// UTF-8, and reading a file through the page cache.
//
//   bench_log_reader [benchmark flags] [FILE]
//
// With FILE (for example one written by velmora-loggen) the file is read into memory first;
// without, VELMORA_BENCH_BYTES bytes (default 256 MiB) are generated in-process.

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include <benchmark/benchmark.h>

#include "core/eventlog/LogLineReader.h"
#include "core/eventlog/Utf8.h"
#include "loggen/LogGenerator.h"

namespace {

using namespace velmora;

std::vector<char> g_data;
std::string g_path; // the file read, if any

std::string_view data() {
    return {g_data.data(), g_data.size()};
}

void setRates(benchmark::State& state, std::size_t pieces) {
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(g_data.size()));
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(pieces));
}

// The floor: finding the line feeds alone, as a line count does.
void lineFeeds(benchmark::State& state) {
    std::size_t lines = 0;
    for (auto _ : state) {
        lines = 0;
        const char* pos = g_data.data();
        const char* end = pos + g_data.size();
        while (const void* found = std::memchr(pos, '\n', static_cast<std::size_t>(end - pos))) {
            ++lines;
            pos = static_cast<const char*>(found) + 1;
        }
        benchmark::DoNotOptimize(lines);
    }
    setRates(state, lines);
}

void pieces(benchmark::State& state) {
    std::size_t count = 0;
    for (auto _ : state) {
        count = 0;
        forEachPiece(data(), [&](std::string_view) { ++count; });
        benchmark::DoNotOptimize(count);
    }
    setRates(state, count);
}

void piecesAndFields(benchmark::State& state) {
    std::size_t count = 0;
    for (auto _ : state) {
        count = 0;
        std::size_t messageBytes = 0;
        forEachPiece(data(), [&](std::string_view piece) {
            if (const std::optional<LogFields> fields = parseLogPiece(piece)) {
                ++count;
                messageBytes += fields->message.size();
            }
        });
        benchmark::DoNotOptimize(messageBytes);
    }
    setRates(state, count);
}

// What loading the event list does per line before storing it.
void piecesFieldsAndUtf8(benchmark::State& state) {
    std::size_t count = 0;
    for (auto _ : state) {
        count = 0;
        std::size_t valid = 0;
        forEachPiece(data(), [&](std::string_view piece) {
            if (const std::optional<LogFields> fields = parseLogPiece(piece)) {
                ++count;
                const char* begin = fields->date.data();
                const char* end = fields->message.data() + fields->message.size();
                valid += isValidUtf8({begin, static_cast<std::size_t>(end - begin)}) ? 1 : 0;
            }
        });
        benchmark::DoNotOptimize(valid);
    }
    setRates(state, count);
}

void utf8Check(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(isValidUtf8(data()));
    }
    setRates(state, 0);
}

void fileReader(benchmark::State& state) {
    std::size_t count = 0;
    for (auto _ : state) {
        count = 0;
        Result<LogLineReader> reader = LogLineReader::open(g_path);
        if (!reader) {
            state.SkipWithError(reader.error().message.c_str());
            return;
        }
        const Status read = reader->forEachPiece(
            [&](std::string_view piece, std::uint64_t) { count += parseLogPiece(piece) ? 1 : 0; });
        benchmark::DoNotOptimize(read.ok());
    }
    setRates(state, count);
}

bool loadData(int argc, char** argv) {
    if (argc > 1) {
        g_path = argv[1];
        const Status read = readFileInto(g_path, g_data);
        if (!read) {
            std::fprintf(stderr, "bench_log_reader: %s\n", read.error().message.c_str());
        }
        return read.ok();
    }
    bench::LogGeneratorOptions options;
    if (const char* bytes = std::getenv("VELMORA_BENCH_BYTES")) {
        const Result<std::uint64_t> size = bench::parseByteSize(bytes);
        if (!size) {
            std::fprintf(stderr, "bench_log_reader: %s\n", size.error().message.c_str());
            return false;
        }
        options.totalBytes = *size;
    } else {
        options.totalBytes = std::uint64_t{256} << 20;
    }
    const std::string generated = bench::LogGenerator(options).generateFile(0);
    g_data.assign(generated.begin(), generated.end());
    return true;
}

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (!loadData(argc, argv)) {
        return 1;
    }
    benchmark::RegisterBenchmark("LineFeeds", lineFeeds)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("Pieces", pieces)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("PiecesAndFields", piecesAndFields)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("PiecesFieldsAndUtf8", piecesFieldsAndUtf8)
        ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("Utf8Check", utf8Check)->Unit(benchmark::kMillisecond);
    if (!g_path.empty()) {
        benchmark::RegisterBenchmark("FileReader", fileReader)->Unit(benchmark::kMillisecond);
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
