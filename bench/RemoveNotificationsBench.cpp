// Whether the console keeps up with the server's removal of old events: a burst of "Remove"
// notifications over a long event list, each matched from the top.
//
//   dbus-run-session -- env QT_QPA_PLATFORM=offscreen TZ=UTC
//       bench_remove_notifications DATA_DIRECTORY [COUNT [RATE]]
//
// The console window runs on the data directory with its events page shown. A second process
// (this program again, as the server) reads the first COUNT lines of text (default 100,000) of
// the first log file in listing order, the oldest events of the list and the bottom rows of the
// table, and posts a "Remove" for each, RATE a second (default 25,000: 100,000 in 4 s), evenly
// spread. Meanwhile a 1 ms timer on the main thread measures how long the event loop is kept
// from running.

#include <chrono>
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
#include <QTimer>
#include <QVariantMap>

#include "EventLoopWatch.h"
#include "app/AppDelegate.h"
#include "app/WindowController.h"
#include "core/eventlog/LogDirectory.h"
#include "core/eventlog/LogLineReader.h"
#include "core/eventlog/Utf8.h"
#include "scan/EventTableModel.h"
#include "scan/ScanView.h"

namespace {

QString text(std::string_view bytes) {
    return QString::fromUtf8(bytes.data(), static_cast<qsizetype>(bytes.size()));
}

// The server's side: a "Remove" for each of the first `count` lines of the first log file,
// `rate` a second.
int postRemovals(const std::string& directory, long count, double rate) {
    const velmora::Result<std::vector<std::string>> names = velmora::listLogFiles(directory);
    std::vector<char> content;
    if (!names || names->empty() ||
        !velmora::readFileInto(directory + "/" + names->front(), content)) {
        std::fprintf(stderr, "bench_remove_notifications: no log file in %s\n", directory.c_str());
        return 1;
    }
    QDBusConnection bus = QDBusConnection::sessionBus();
    QElapsedTimer clock;
    clock.start();
    long posted = 0;
    velmora::forEachPiece(
        std::string_view(content.data(), content.size()), [&](std::string_view piece) {
            const std::optional<velmora::LogFields> fields = velmora::parseLogPiece(piece);
            // A line that is no UTF-8 is no text the server could post;
            // one whose date is not whole seconds shows that text, which a
            // removal never matches.
            if (!fields || !velmora::isValidUtf8(piece) ||
                fields->date.find_first_not_of("0123456789") != std::string_view::npos) {
                return true;
            }
            QDBusMessage signal = QDBusMessage::createSignal("/com/kestrix/Velmora",
                                                             "com.kestrix.Velmora", "Velmora");
            signal << QVariantMap{{"Type", "Remove"},
                                  {"Date", text(fields->date)},
                                  {"Priority", text(fields->priority)},
                                  {"Host", text(fields->host)},
                                  {"Message", text(fields->message)}};
            bus.send(signal);
            ++posted;
            while (static_cast<double>(clock.nsecsElapsed()) / 1e9 * rate <
                   static_cast<double>(posted)) {
                std::this_thread::sleep_for(std::chrono::microseconds(200));
            }
            return posted < count;
        });
    // Sends are queued; a call the bus answers after them means they are all out.
    bus.call(QDBusMessage::createMethodCall("org.freedesktop.DBus", "/org/freedesktop/DBus",
                                            "org.freedesktop.DBus", "GetId"));
    std::printf("%ld\n", posted);
    return 0;
}

} // namespace

int main(int argc, char* argv[]) {
    if (argc == 5 && std::strcmp(argv[1], "send") == 0) {
        QCoreApplication app(argc, argv);
        return postRemovals(argv[2], std::atol(argv[3]), std::atof(argv[4]));
    }
    QApplication app(argc, argv);
    if (argc < 2 || argc > 4 || !QDBusConnection::sessionBus().isConnected()) {
        std::fprintf(stderr, "usage: dbus-run-session -- bench_remove_notifications "
                             "DATA_DIRECTORY [COUNT [RATE]]\n");
        return 2;
    }
    const QString count = argc >= 3 ? QString::fromLocal8Bit(argv[2]) : QStringLiteral("100000");
    const QString rate = argc == 4 ? QString::fromLocal8Bit(argv[3]) : QStringLiteral("25000");
    velmora::AppDelegate delegate(argv[1]);
    velmora::WindowController window(delegate);
    window.show();
    window.scan();
    QCoreApplication::processEvents();
    const velmora::EventTableModel& model = window.scanView().model();
    const int loaded = model.rowCount();
    int expected = loaded - count.toInt();

    QElapsedTimer clock;
    clock.start();
    velmora::bench::EventLoopWatch loop;
    QProcess server;
    server.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    qint64 sentAtMs = 0;
    QObject::connect(&server, &QProcess::finished, [&] {
        sentAtMs = clock.elapsed();
        expected = loaded - QString::fromLatin1(server.readAllStandardOutput()).trimmed().toInt();
    });
    server.start(QCoreApplication::applicationFilePath(),
                 {"send", QString::fromLocal8Bit(argv[1]), count, rate});
    const double cpuBefore = velmora::bench::threadCpuSeconds();
    const qint64 handledAtMs = velmora::bench::runUntil(
        clock, 120'000, [&] { return model.rowCount() <= expected && sentAtMs > 0; });
    const double cpu = velmora::bench::threadCpuSeconds() - cpuBefore;
    server.waitForFinished();
    const long posted = loaded - expected;

    std::printf("events loaded                      %d\n", loaded);
    std::printf("removals posted                    %ld, all out after %.2f s\n", posted,
                static_cast<double>(sentAtMs) / 1000.0);
    std::printf("rows left                          %d (%d expected)\n", model.rowCount(),
                expected);
    std::printf("all rows gone after                %.2f s\n",
                static_cast<double>(handledAtMs) / 1000.0);
    std::printf("console main thread busy           %.2f s of CPU, %.1f us a removal\n", cpu,
                cpu * 1e6 / static_cast<double>(std::max(1L, posted)));
    std::printf("event loop gaps: median %.1f ms, 99th percentile %.1f ms, longest %.1f ms\n",
                loop.percentile(0.5), loop.percentile(0.99), loop.percentile(1.0));
    return model.rowCount() <= expected ? 0 : 1;
}
