// Opening a group of a million rows in the Reports page's table, offscreen: the model's
// insertion and what the table view does with it until it has painted again.
//
//   QT_QPA_PLATFORM=offscreen bench_report_open [benchmark flags]
//
// The log file (a million lines of one host among a few others, about 80 MB) is written to a
// temporary directory under /tmp and removed at the end.

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include <benchmark/benchmark.h>

#include <QApplication>
#include <QTableView>

#include "core/reports/ReportEngine.h"
#include "reports/ReportTableModel.h"

namespace {

using namespace velmora;

constexpr int kGroupRows = 1000000;
constexpr int kOtherHosts = 50;

std::shared_ptr<const Report> g_report;
int g_groupRow = 0; // the busy host's group row

void writeLog(const std::filesystem::path& path) {
    std::ofstream out(path);
    for (int i = 0; i < kGroupRows; ++i) {
        out << 1700000000 + i / 3 << ",Local7.Informational,busy-host,request " << i
            << " served in 12 ms\n";
        if (i % 1000 == 0) {
            out << 1700000000 + i / 3 << ",User.Notice,host-" << i % kOtherHosts << ",other\n";
        }
    }
}

void settle(QTableView& table) {
    QCoreApplication::processEvents();
    table.viewport()->repaint();
}

// From the click that opens the group to the table painted with its rows; closing it again is
// left out of the figure.
void openGroup(benchmark::State& state) {
    ReportTableModel model;
    model.setReport(g_report);
    QTableView table;
    table.setModel(&model);
    table.resize(1000, 700);
    table.show();
    settle(table);
    for (auto _ : state) {
        model.click(g_groupRow);
        settle(table);
        state.PauseTiming();
        model.click(g_groupRow);
        settle(table);
        state.ResumeTiming();
    }
    state.counters["rows"] = static_cast<double>(
        g_report->groupDetails(GroupId{static_cast<std::uint32_t>(g_groupRow)}).size());
}

} // namespace

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    std::string directory = "/tmp/velmora-open-bench-XXXXXX";
    if (::mkdtemp(directory.data()) == nullptr) {
        std::perror("bench_report_open");
        return 1;
    }
    writeLog(std::filesystem::path(directory) / "events.log");
    g_report = ReportEngine({directory, std::string(kAllLogs), ReportGrouping::Host, ""}).build();
    g_groupRow = static_cast<int>(*g_report->findGroup("busy-host"));
    benchmark::RegisterBenchmark("OpenGroupOfAMillionRows", openGroup)
        ->Unit(benchmark::kMillisecond)
        ->Iterations(5);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    g_report.reset();
    std::filesystem::remove_all(directory);
    return 0;
}
