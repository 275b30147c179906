// Building a report over a directory of log files, by each grouping, on a warm page cache; and
// exporting it with every group open, as the Reports page's Export writes such a table.
//
//   bench_report DIR [benchmark flags]
//
// DIR holds log files, for example written by velmora-loggen. The first build reads the files
// into the page cache; the figures are those of the builds after it. The exports are written
// to a file under /tmp, removed after each.

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <string>

#include <benchmark/benchmark.h>

#include "core/reports/ReportEngine.h"
#include "core/reports/ReportExport.h"
#include "core/reports/ReportTable.h"

namespace {

using namespace velmora;

std::string g_directory;

void build(benchmark::State& state, ReportGrouping grouping) {
    const ReportEngine engine({g_directory, std::string(kAllLogs), grouping, ""});
    std::size_t lines = 0;
    std::size_t groups = 0;
    std::size_t memory = 0;
    for (auto _ : state) {
        const std::unique_ptr<Report> report = engine.build();
        lines = report->detailCount();
        groups = report->groupCount();
        memory = report->memoryBytes();
    }
    state.counters["lines"] = static_cast<double>(lines);
    state.counters["groups"] = static_cast<double>(groups);
    state.counters["MiB"] = static_cast<double>(memory >> 20);
}

// The report is built once, untimed; each iteration writes the "txt" export of its table with
// every group open.
void exportAllOpen(benchmark::State& state, ReportGrouping grouping) {
    ReportTable table(ReportEngine({g_directory, std::string(kAllLogs), grouping, ""}).build());
    table.openAll();
    const std::array<std::string_view, 4> names = reportColumnTitles(grouping);
    std::array<std::string, 4> titles;
    std::copy(names.begin(), names.end(), titles.begin());
    const std::string path = "/tmp/velmora-bench-export.txt";
    std::uintmax_t bytes = 0;
    for (auto _ : state) {
        if (!exportReportTable(table, titles, '\t', path)) {
            state.SkipWithError("the export failed");
        }
        bytes = std::filesystem::file_size(path);
        std::filesystem::remove(path);
    }
    state.counters["rows"] = static_cast<double>(table.size());
    state.counters["MB"] = static_cast<double>(bytes) / 1e6;
}

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (argc != 2) {
        std::fprintf(stderr, "usage: bench_report DIR [benchmark flags]\n");
        return 2;
    }
    g_directory = argv[1];
    ReportEngine({g_directory, std::string(kAllLogs), ReportGrouping::Priority, ""}).build();
    const std::pair<const char*, ReportGrouping> groupings[] = {
        {"ByHost", ReportGrouping::Host},
        {"ByMessage", ReportGrouping::Message},
        {"ByPriority", ReportGrouping::Priority},
        {"ByDate", ReportGrouping::Date},
    };
    for (const auto& [name, grouping] : groupings) {
        benchmark::RegisterBenchmark(name, build, grouping)
            ->Unit(benchmark::kMillisecond)
            ->Iterations(3);
    }
    for (const auto& [name, grouping] : groupings) {
        benchmark::RegisterBenchmark((std::string("ExportAllOpen") + name).c_str(), exportAllOpen,
                                     grouping)
            ->Unit(benchmark::kMillisecond)
            ->Iterations(3);
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
