// Export all and Delete all over a large event list, run on the events page as a user runs them.
//
//   QT_QPA_PLATFORM=offscreen TZ=UTC bench_scan_bulk DIR [RUNS]
//
// DIR holds log files, for example written by velmora-loggen. Each run (default 3) copies them,
// untimed, into a temporary data directory, since the deletion rewrites them; builds the console
// window on the copy (the list loaded as at start) with its events page shown; then
//   - exports all events to a "txt" file: from the file chosen to the file written;
//   - deletes all events: from "Yes" to the log files rewritten.
// Each run's figures are printed; the best of the runs is the figure to quote.

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>

#include <QApplication>
#include <QCheckBox>
#include <QEventLoop>
#include <QFileDialog>
#include <QMessageBox>
#include <QPushButton>
#include <QTemporaryDir>

#include "app/AppDelegate.h"
#include "app/WindowController.h"
#include "scan/EventTableModel.h"
#include "scan/ScanView.h"
#include "ui/ModalDriver.h"

namespace {

namespace fs = std::filesystem;
using velmora::ScanView;
using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// Ticks the alert's offer of all events, then lets `next` answer the dialog that follows.
template <typename Dialog>
void askForAllEvents(std::function<void(Dialog&)> next) {
    velmora::test::whenModal<QMessageBox>([next](QMessageBox& box) {
        box.checkBox()->setChecked(true);
        velmora::test::whenModal<Dialog>(next);
        box.buttons().front()->click();
    });
}

// Runs `start` and waits for `finished` of the page; returns the seconds from `started`.
template <typename Signal>
double runUntil(ScanView& page, Signal finished, const std::function<void()>& start,
                const Clock::time_point& started) {
    QEventLoop loop;
    QObject::connect(&page, finished, &loop, &QEventLoop::quit);
    start();
    loop.exec();
    return secondsSince(started);
}

void run(const fs::path& logs, int number) {
    QTemporaryDir data;
    for (const fs::directory_entry& entry : fs::directory_iterator(logs)) {
        fs::copy_file(entry.path(), fs::path(data.path().toStdString()) / entry.path().filename());
    }
    velmora::AppDelegate delegate(data.path().toStdString());
    velmora::WindowController window(delegate);
    window.show();
    window.scan();
    QCoreApplication::processEvents();
    ScanView& page = window.scanView();
    const std::size_t events = delegate.eventStore().size();

    Clock::time_point started;
    const QString target = data.filePath("all.txt");
    askForAllEvents<QFileDialog>([&](QFileDialog& chooser) {
        started = Clock::now();
        velmora::test::chooseFile(chooser, target);
    });
    const double exported = runUntil(
        page, &ScanView::exportFinished, [&] { page.exportEvents(); }, started);
    const auto exportedBytes = static_cast<double>(fs::file_size(target.toStdString()));
    fs::remove(target.toStdString());

    askForAllEvents<QMessageBox>([&](QMessageBox& confirm) {
        started = Clock::now();
        for (QAbstractButton* button : confirm.buttons()) {
            if (button->text() == "Yes") {
                button->click();
            }
        }
    });
    const double deleted = runUntil(
        page, &ScanView::deletionFinished, [&] { page.deleteEvents(); }, started);
    std::printf("run %d: %zu events; export all %.2f s (%.0f MB); delete all %.2f s, %d rows "
                "left\n",
                number, events, exported, exportedBytes / 1e6, deleted, page.model().rowCount());
}

} // namespace

int main(int argc, char* argv[]) {
    QApplication app(argc, argv);
    if (argc < 2 || argc > 3) {
        std::fprintf(stderr, "usage: bench_scan_bulk DIR [RUNS]\n");
        return 2;
    }
    const int runs = argc == 3 ? std::atoi(argv[2]) : 3;
    for (int i = 1; i <= runs; ++i) {
        run(argv[1], i);
    }
    return 0;
}
