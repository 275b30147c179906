// Whether the console keeps up with a busy server while its events page is shown.
//
//   dbus-run-session -- env QT_QPA_PLATFORM=offscreen
//       bench_live_notifications [RATE [SECONDS [DATA_DIRECTORY]]]
//
// The console window runs on the data directory (default an empty one) with its events page
// shown. A second
// process (this program again, as the server) posts RATE "Set" notifications a second (default
// 20,000) for SECONDS seconds (default 5), evenly spread. Meanwhile a 1 ms timer on the main
// thread measures how long the event loop is kept from running: its longest gap is the longest
// stall a user would feel.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>
#include <QTimer>
#include <QVariantMap>

#include "EventLoopWatch.h"
#include "app/AppDelegate.h"
#include "app/WindowController.h"
#include "scan/EventTableModel.h"
#include "scan/ScanView.h"

namespace {

// The server's side: posts the notifications, then prints how long that took.
int postNotifications(double rate, double seconds) {
    QDBusConnection bus = QDBusConnection::sessionBus();
    const auto total = static_cast<long>(rate * seconds);
    QElapsedTimer clock;
    clock.start();
    long posted = 0;
    while (posted < total) {
        const double elapsed = static_cast<double>(clock.nsecsElapsed()) / 1e9;
        const long due = std::min(total, static_cast<long>(elapsed * rate) + 1);
        for (; posted < due; ++posted) {
            QDBusMessage signal = QDBusMessage::createSignal("/com/kestrix/Velmora",
                                                             "com.kestrix.Velmora", "Velmora");
            signal << QVariantMap{
                {"Type", "Set"},
                {"Date", QString::number(1700000000 + posted / 1000)},
                {"Priority", posted % 7 == 0 ? "Kern.Error" : "Local7.Debug"},
                {"Host", QStringLiteral("10.0.%1.%2").arg(posted / 250 % 250).arg(posted % 250)},
                {"Message", QStringLiteral("event %1 of a busy server, with "
                                           "a comma and some text")
                                .arg(posted)}};
            bus.send(signal);
        }
        std::this_thread::sleep_for(std::chrono::microseconds(500));
    }
    // Sends are queued; a call the bus answers after them means they are all out.
    bus.call(QDBusMessage::createMethodCall("org.freedesktop.DBus", "/org/freedesktop/DBus",
                                            "org.freedesktop.DBus", "GetId"));
    std::printf("%ld %lld\n", posted, static_cast<long long>(clock.elapsed()));
    return 0;
}

} // namespace

int main(int argc, char* argv[]) {
    if (argc == 4 && std::strcmp(argv[1], "send") == 0) {
        QCoreApplication app(argc, argv);
        return postNotifications(std::atof(argv[2]), std::atof(argv[3]));
    }
    QApplication app(argc, argv);
    const QString rate = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral("20000");
    const QString seconds = argc > 2 ? QString::fromLocal8Bit(argv[2]) : QStringLiteral("5");
    if (!QDBusConnection::sessionBus().isConnected()) {
        std::fprintf(stderr, "bench_live_notifications: no session bus; run it under "
                             "dbus-run-session\n");
        return 2;
    }
    QTemporaryDir empty;
    velmora::AppDelegate delegate(argc > 3 ? std::string(argv[3]) : empty.path().toStdString());
    velmora::WindowController window(delegate);
    window.show();
    window.scan();
    QCoreApplication::processEvents();
    const velmora::EventTableModel& model = window.scanView().model();
    const int loaded = model.rowCount();

    QElapsedTimer clock;
    clock.start();
    velmora::bench::EventLoopWatch loop;

    QProcess server;
    server.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    qint64 sentAtMs = 0;
    QObject::connect(&server, &QProcess::finished, [&] { sentAtMs = clock.elapsed(); });
    server.start(QCoreApplication::applicationFilePath(), {"send", rate, seconds});
    const auto total = loaded + static_cast<long>(rate.toDouble() * seconds.toDouble());
    const double cpuBefore = velmora::bench::threadCpuSeconds();
    const qint64 handledAtMs =
        velmora::bench::runUntil(clock, static_cast<qint64>(seconds.toDouble() * 1000) + 60'000,
                                 [&] { return model.rowCount() >= total && sentAtMs > 0; });
    const double cpu = velmora::bench::threadCpuSeconds() - cpuBefore;
    server.waitForFinished();
    const QStringList report = QString::fromLatin1(server.readAllStandardOutput()).split(' ');

    const long posted = report.value(0).toLong();
    const double sendSeconds = report.value(1).toDouble() / 1000.0;
    std::printf("notifications posted               %ld in %.2f s (%.0f a second)\n", posted,
                sendSeconds, static_cast<double>(posted) / sendSeconds);
    std::printf("rows in the table                  %d (%d loaded at start)\n", model.rowCount(),
                loaded);
    std::printf("last row in, after the server ended %lld ms\n",
                handledAtMs > 0 ? handledAtMs - sentAtMs : -1LL);
    std::printf("console main thread busy          %.2f s of CPU, %.1f us an event\n", cpu,
                cpu * 1e6 / static_cast<double>(std::max(1, model.rowCount() - loaded)));
    std::printf("event loop gaps: median %.1f ms, 99th percentile %.1f ms, longest %.1f ms\n",
                loop.percentile(0.5), loop.percentile(0.99), loop.percentile(1.0));
    return model.rowCount() >= total ? 0 : 1;
}
