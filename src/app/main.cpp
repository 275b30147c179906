#include <cstdlib>
#include <string>

#include <QApplication>
#include <QCommandLineParser>
#include <QIcon>
#include <QTimer>

#include "app/AppDelegate.h"
#include "app/WindowController.h"
#include "core/Version.h"
#include "core/settings/SettingsStore.h"

int main(int argc, char* argv[]) {
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Velmora"));
    QApplication::setApplicationVersion(QString::fromLatin1(velmora::kVersion));
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/icons/velmora.svg")));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("The console of the Velmora syslog server."));
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption dataDirectory(
        QStringLiteral("data-dir"),
        QStringLiteral("The server's data directory (default: the environment's %1, else %2).")
            .arg(QString::fromLatin1(velmora::kDataDirectoryVariable.data(),
                                     velmora::kDataDirectoryVariable.size()),
                 QString::fromLatin1(velmora::kDefaultDataDirectory.data(),
                                     velmora::kDefaultDataDirectory.size())),
        QStringLiteral("DIR"));
    // For the smoke test: start, show the window, and leave the event loop at once.
    QCommandLineOption quitAfterStart(QStringLiteral("quit-after-start"),
                                      QStringLiteral("Quit as soon as the window is shown."));
    quitAfterStart.setFlags(QCommandLineOption::HiddenFromHelp);
    parser.addOption(dataDirectory);
    parser.addOption(quitAfterStart);
    parser.process(app);

    const std::string variable(velmora::kDataDirectoryVariable);
    velmora::AppDelegate delegate(velmora::resolveDataDirectory(
        parser.value(dataDirectory).toStdString(), std::getenv(variable.c_str())));
    velmora::WindowController window(delegate);
    delegate.setWindowController(&window);
    window.show();
    if (parser.isSet(quitAfterStart)) {
        QTimer::singleShot(0, &app, &QCoreApplication::quit);
    }
    return QApplication::exec();
}
