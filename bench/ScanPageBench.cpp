// How quickly the events page appears over a large event list.
//
//   QT_QPA_PLATFORM=offscreen bench_scan_page DIR
//
// DIR is a data directory, for example one that velmora-loggen filled. The console window is
// built on it as at start (the load is timed too), shown on its dashboard, and then:
//   - the events page is shown for the first time and painted;
//   - after a change of the date format (every row's date must be rewritten), shown again;
//   - the table jumps to its oldest rows and is painted.
// Each figure is the time from the request until the page has painted.

#include <cstdio>
#include <functional>

#include <QApplication>
#include <QElapsedTimer>
#include <QTableView>

#include "app/AppDelegate.h"
#include "app/WindowController.h"
#include "scan/EventTableModel.h"
#include "scan/ScanView.h"

namespace {

using velmora::WindowController;

double millisecondsOf(const std::function<void()>& work) {
    QElapsedTimer timer;
    timer.start();
    work();
    return static_cast<double>(timer.nsecsElapsed()) / 1e6;
}

void paint(WindowController& window) {
    window.repaint();
    QCoreApplication::processEvents();
}

} // namespace

int main(int argc, char* argv[]) {
    QApplication app(argc, argv);
    if (argc != 2) {
        std::fprintf(stderr, "usage: bench_scan_page DATA_DIRECTORY\n");
        return 2;
    }
    velmora::AppDelegate delegate(argv[1]);
    std::unique_ptr<WindowController> window;
    const double load =
        millisecondsOf([&] { window = std::make_unique<WindowController>(delegate); });
    window->show();
    paint(*window);

    const double first = millisecondsOf([&] {
        window->scan();
        paint(*window);
    });
    window->home();
    paint(*window);
    delegate.runtime().newDateFormat = "dd.MM.yyyy HH:mm:ss";
    const double reformatted = millisecondsOf([&] {
        window->scan();
        paint(*window);
    });
    const double oldest = millisecondsOf([&] {
        window->scanView().tableView().scrollToBottom();
        paint(*window);
    });

    std::printf("events                                 %zu\n", delegate.eventStore().size());
    std::printf("window built, list loaded              %.0f ms\n", load);
    std::printf("events page, first showing             %.1f ms\n", first);
    std::printf("events page, after a date format change %.1f ms\n", reformatted);
    std::printf("jump to the oldest rows                %.1f ms\n", oldest);
    return 0;
}
