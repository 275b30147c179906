// The loader's speed and memory on a data directory, against a line count of the same files.
//
//   bench_log_loader [benchmark flags] DIR
//
// DIR holds log files, for example 1 GiB written by velmora-loggen. LineCount reads the files
// as `wc -l` does (large reads into one buffer, line feeds found with memchr): the floor.
// InitializeLog builds the whole event list as the console does at start. Both report bytes
// and lines (items) per second; InitializeLog also the list's memory and the process's peak
// resident memory, each against the log bytes. Run one benchmark per process for a peak that
// belongs to the loader alone (--benchmark_filter=InitializeLog).

#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <optional>
#include <string>
#include <sys/resource.h>
#include <tuple>
#include <unistd.h>
#include <vector>

#include <benchmark/benchmark.h>

#include "core/eventlog/LogDirectory.h"
#include "core/eventlog/LogLoader.h"

namespace {

using namespace velmora;

std::string g_directory;

// The number of line feeds in the directory's log files, and their bytes.
std::pair<std::size_t, std::size_t> countLines(const std::vector<std::string>& names) {
    std::vector<char> buffer(kLoaderReadBytes);
    std::size_t lines = 0;
    std::size_t bytes = 0;
    for (const std::string& name : names) {
        const int fd = ::open((g_directory + "/" + name).c_str(), O_RDONLY | O_CLOEXEC);
        if (fd < 0) {
            continue;
        }
        ssize_t n = 0;
        while ((n = ::read(fd, buffer.data(), buffer.size())) > 0) {
            bytes += static_cast<std::size_t>(n);
            const char* pos = buffer.data();
            const char* end = pos + n;
            while (const void* found =
                       std::memchr(pos, '\n', static_cast<std::size_t>(end - pos))) {
                ++lines;
                pos = static_cast<const char*>(found) + 1;
            }
        }
        ::close(fd);
    }
    return {lines, bytes};
}

void lineCount(benchmark::State& state) {
    const std::vector<std::string> names = listLogFiles(g_directory).value();
    std::size_t lines = 0;
    std::size_t bytes = 0;
    for (auto _ : state) {
        std::tie(lines, bytes) = countLines(names);
        benchmark::DoNotOptimize(lines);
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes));
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(lines));
}

double peakResidentBytes() {
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) * 1024.0;
}

void initializeLogBench(benchmark::State& state) {
    const SettingsStore settings(g_directory);
    LoadReport report;
    std::optional<EventStore> store;
    RuntimeSettings runtime;
    for (auto _ : state) {
        state.PauseTiming(); // the last list's pages are given back outside the timed part
        store.reset();
        store.emplace();
        state.ResumeTiming();
        report = initializeLog(settings, *store, runtime);
    }
    const auto memory = static_cast<double>(store->memoryBytes());
    const auto bytes = static_cast<double>(report.bytes);
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(report.bytes));
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(report.events));
    state.counters["events"] = static_cast<double>(report.events);
    state.counters["list/log"] = memory / bytes;
    state.counters["peakRSS/log"] = peakResidentBytes() / bytes;
}

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (argc != 2) {
        std::fprintf(stderr, "usage: bench_log_loader [benchmark flags] DIR\n");
        return 2;
    }
    g_directory = argv[1];
    benchmark::RegisterBenchmark("LineCount", lineCount)
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
    benchmark::RegisterBenchmark("InitializeLog", initializeLogBench)
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime()
        ->MeasureProcessCPUTime();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
