#include <cstdio>
#include <cstdlib>
#include <string>
#include <variant>

#include <QApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDir>
#include <QIcon>
#include <QTimer>

#include "app/AppDelegate.h"
#include "app/CommandLine.h"
#include "app/EventDump.h"
#include "app/LoopMonitor.h"
#include "app/PageScreenshots.h"
#include "app/WindowController.h"
#include "core/Version.h"
#include "core/settings/SettingsStore.h"
#include "scan/EventTableModel.h"
#include "scan/ScanView.h"

namespace {

QStringList argumentsOf(int argc, char* argv[]) {
    QStringList arguments;
    for (int i = 1; i < argc; ++i) {
        arguments << QString::fromLocal8Bit(argv[i]);
    }
    return arguments;
}

} // namespace

int main(int argc, char* argv[]) {
    const std::string variable(velmora::kDataDirectoryVariable);
    const auto command =
        velmora::readCommandLine(argumentsOf(argc, argv), std::getenv(variable.c_str()));
    if (const auto* exit = std::get_if<velmora::EarlyExit>(&command)) {
        std::fputs(exit->text.toLocal8Bit().constData(), exit->toStandardError ? stderr : stdout);
        return exit->status;
    }
    const auto& options = std::get<velmora::StartOptions>(command);

    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Velmora"));
    QApplication::setApplicationVersion(QString::fromLatin1(velmora::kVersion));
    QApplication::setDesktopFileName(QStringLiteral("com.kestrix.Velmora"));
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/icons/velmora.svg")));

    velmora::AppDelegate delegate(options.dataDirectory);
    velmora::WindowController window(delegate);
    delegate.setWindowController(&window);
    if (options.startOnScan) {
        window.scan();
    }
    window.show();
    if (!options.debugDump.isEmpty()) {
        // A round trip on the bus first: once the first dump exists, the bus has the console's
        // subscription, and a test may post.
        if (QDBusConnectionInterface* bus = QDBusConnection::sessionBus().interface()) {
            bus->serviceOwner(QStringLiteral("org.freedesktop.DBus"));
        }
        auto* dump = new velmora::EventDump(window.scanView().model(), options.debugDump, &window);
        dump->write();
    }
    if (!options.screenshots.isEmpty()) {
        constexpr int kLiveEventsMs = 2500;
        auto* pictures = new velmora::PageScreenshots(window, QDir(options.screenshots), &window);
        pictures->start(kLiveEventsMs);
    }
    if (velmora::LoopMonitor::wanted()) {
        new velmora::LoopMonitor(delegate.eventStore(), &window);
    }
    if (options.quitAfterStart) {
        QTimer::singleShot(0, &app, &QCoreApplication::quit);
    }
    return QApplication::exec();
}
