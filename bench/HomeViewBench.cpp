// Live events while the Home page is on screen: what a burst costs the main thread, with the
// recount, the texts and the repaints of the page.
//
//   bench_home_view [benchmark flags]
//
// Runs on the offscreen platform unless QT_QPA_PLATFORM says otherwise; the data directory is
// an empty temporary one.

#include <cstdint>
#include <memory>

#include <benchmark/benchmark.h>

#include <QApplication>
#include <QLabel>
#include <QTemporaryDir>

#include "app/AppDelegate.h"
#include "app/Page.h"
#include "app/WindowController.h"
#include "home/HomeView.h"

namespace {

using namespace velmora;

struct Console {
    QTemporaryDir data;
    AppDelegate delegate{data.path().toStdString()};
    WindowController window{delegate};

    Console() {
        delegate.setWindowController(&window);
        window.show();
        QApplication::processEvents();
    }
};

const EventFields kWarning{"1700000000", "Kern.Warning", "10.0.0.1", "disk almost full"};

// Each event arrives as its own posted event, as notifications from the bus do, all of them
// before the main thread gets to the first: the page coalesces them into few repaints.
void burstOfPostedEvents(benchmark::State& state) {
    Console console;
    const auto burst = static_cast<int>(state.range(0));
    for (auto _ : state) {
        for (int i = 0; i < burst; ++i) {
            QMetaObject::invokeMethod(
                &console.window, [&console] { console.window.setNotification(kWarning); },
                Qt::QueuedConnection);
        }
        QApplication::processEvents();
        QApplication::processEvents();
    }
    state.SetItemsProcessed(state.iterations() * burst);
    state.counters["shown_warnings"] = console.window.findChild<HomeView*>()
                                           ->findChild<QLabel*>("eventsWarning")
                                           ->text()
                                           .toDouble();
}

// The worst case: the event loop turns after every event, so every event is also repainted.
// With the Tools page shown instead, nothing on screen changes: the cost of the turn alone.
void oneTurnPerEvent(benchmark::State& state) {
    Console console;
    console.window.showPage(static_cast<Page>(state.range(0)));
    for (auto _ : state) {
        console.window.setNotification(kWarning);
        QApplication::processEvents();
    }
    state.SetItemsProcessed(state.iterations());
}

BENCHMARK(burstOfPostedEvents)->Arg(20000)->Unit(benchmark::kMillisecond);
BENCHMARK(oneTurnPerEvent)
    ->ArgName("page")
    ->Arg(static_cast<int>(Page::Home))
    ->Arg(static_cast<int>(Page::Tools))
    ->Unit(benchmark::kMicrosecond);

} // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
