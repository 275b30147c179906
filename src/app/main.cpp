#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
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
#include "app/ConsoleService.h"
#include "app/EventDump.h"
#include "app/Logging.h"
#include "app/LoopMonitor.h"
#include "app/PageScreenshots.h"
#include "app/StatusIcon.h"
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

// One console per user and data directory: started again, the console brings the running
// one's window forward and ends. Returns the exit status when this console is not to start.
std::optional<int> handOverToRunningConsole(velmora::ConsoleService& service) {
    switch (service.claim()) {
    case velmora::ConsoleService::Claim::Owned:
        return std::nullopt;
    case velmora::ConsoleService::Claim::Unknown:
        qCWarning(velmora::lcApp) << "no session bus: a second console on this data directory "
                                     "cannot be told to step aside";
        return std::nullopt;
    case velmora::ConsoleService::Claim::Taken:
        break;
    }
    if (service.activateOwner()) {
        return 0;
    }
    std::fprintf(stderr, "velmora: a console on %s runs but does not answer.\n",
                 service.dataDirectory().toLocal8Bit().constData());
    return 1;
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

    velmora::ConsoleService service(options.dataDirectory);
    if (const std::optional<int> status = handOverToRunningConsole(service)) {
        return *status;
    }

    velmora::AppDelegate delegate(options.dataDirectory);
    velmora::WindowController window(delegate);
    delegate.setWindowController(&window);
    QObject::connect(&service, &velmora::ConsoleService::activated, &delegate,
                     &velmora::AppDelegate::showWindow);
    // With an icon in the status area, closing the window leaves the console following the
    // server; on a desktop without one, closing the window ends the console, as users expect.
    std::unique_ptr<velmora::StatusIcon> statusIcon;
    if (velmora::StatusIcon::available()) {
        statusIcon = std::make_unique<velmora::StatusIcon>(delegate);
    }
    QApplication::setQuitOnLastWindowClosed(statusIcon == nullptr);
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
