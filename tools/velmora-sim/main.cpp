// velmora-sim: a development stand-in for the server, not part of the product. It logs events
// into a data directory and announces them as the server does, so that the console can be
// watched working without the real server.

#include <cstdio>
#include <cstdlib>
#include <string>

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusError>
#include <QDBusMessage>
#include <QDir>
#include <QStringList>

#include "ServerSimulator.h"
#include "SyslogReceiver.h"
#include "core/settings/SettingsStore.h"

namespace {

using velmora::sim::ServerSimulator;
using velmora::sim::SimEvent;
using velmora::sim::SyslogReceiver;

constexpr quint16 kSyslogPort = 514;

int fail(const QString& message, int status = 1) {
    std::fprintf(stderr, "velmora-sim: %s\n", qPrintable(message));
    return status;
}

void say(const QString& message) {
    std::printf("velmora-sim: %s\n", qPrintable(message));
    std::fflush(stdout);
}

// Signals are sent without waiting; a call answered by the bus after them means the bus has
// them all, so the program may end.
void settle(const QDBusConnection& bus) {
    bus.call(QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("GetId")));
}

// A line as the server logs it, "SECONDS,PRIORITY,HOST,MESSAGE".
bool parseLine(const QString& line, SimEvent& event) {
    const QStringList parts = line.split(QLatin1Char(','));
    if (parts.size() < 4) {
        return false;
    }
    event = {parts[0], parts[1], parts[2], parts.mid(3).join(QLatin1Char(','))};
    return true;
}

} // namespace

int main(int argc, char* argv[]) {
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("velmora-sim"));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "A stand-in for the Velmora server, for development: appends event lines to a log\n"
        "file of the data directory and posts the matching \"Set\" notifications; receives\n"
        "syslog datagrams on UDP and logs and announces each; or logs one event, or posts\n"
        "one \"Remove\".\n"
        "\n"
        "  velmora-sim [options]              run until stopped (or --count events)\n"
        "  velmora-sim [options] log LINE     log LINE and post its Set\n"
        "  velmora-sim [options] remove LINE  post a Remove for LINE\n"
        "\n"
        "LINE is an event as logged: SECONDS,PRIORITY,HOST,MESSAGE."));
    parser.addHelpOption();
    const QCommandLineOption dataDir(
        QStringLiteral("data-dir"),
        QStringLiteral("The data directory (default: $%1, else %2).")
            .arg(QString::fromLatin1(velmora::kDataDirectoryVariable.data()),
                 QString::fromLatin1(velmora::kDefaultDataDirectory.data())),
        QStringLiteral("DIR"));
    const QCommandLineOption rate(QStringLiteral("rate"),
                                  QStringLiteral("Made-up events a second (default 1; 0: none)."),
                                  QStringLiteral("N"), QStringLiteral("1"));
    const QCommandLineOption count(QStringLiteral("count"),
                                   QStringLiteral("Stop after N made-up events (default: never)."),
                                   QStringLiteral("N"), QStringLiteral("0"));
    const QCommandLineOption logName(
        QStringLiteral("log"), QStringLiteral("The log file's name (default velmora-sim.log)."),
        QStringLiteral("NAME"), QStringLiteral("velmora-sim.log"));
    const QCommandLineOption udpPort(
        QStringLiteral("udp-port"),
        QStringLiteral("Receive syslog datagrams on this UDP port (default 514 where permitted)."),
        QStringLiteral("PORT"));
    const QCommandLineOption noUdp(QStringLiteral("no-udp"),
                                   QStringLiteral("Receive no syslog datagrams."));
    const QCommandLineOption systemBus(
        QStringLiteral("system-bus"),
        QStringLiteral("Post on the system bus, not the session bus."));
    const QCommandLineOption seed(QStringLiteral("seed"),
                                  QStringLiteral("Seed of the made-up events (default 1)."),
                                  QStringLiteral("N"), QStringLiteral("1"));
    parser.addOptions({dataDir, rate, count, logName, udpPort, noUdp, systemBus, seed});
    parser.addPositionalArgument(QStringLiteral("command"),
                                 QStringLiteral("log LINE, or remove LINE."),
                                 QStringLiteral("[log|remove LINE]"));
    parser.process(app);

    QDBusConnection bus =
        parser.isSet(systemBus) ? QDBusConnection::systemBus() : QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        return fail(
            QStringLiteral("no D-Bus %1 bus: %2")
                .arg(parser.isSet(systemBus) ? "system" : "session", bus.lastError().message()));
    }
    const std::string variable(velmora::kDataDirectoryVariable);
    const QDir directory(QString::fromStdString(velmora::resolveDataDirectory(
        parser.value(dataDir).toStdString(), std::getenv(variable.c_str()))));
    ServerSimulator server(bus, directory.filePath(parser.value(logName)));

    const QStringList arguments = parser.positionalArguments();
    if (!arguments.isEmpty()) {
        SimEvent event;
        const QString command = arguments[0];
        if (arguments.size() != 2 || (command != "log" && command != "remove") ||
            !parseLine(arguments[1], event)) {
            return fail(QStringLiteral("expected: log|remove SECONDS,PRIORITY,HOST,MESSAGE"), 2);
        }
        if (command == "log") {
            QString error;
            if (!server.open(&error)) {
                return fail(error);
            }
            server.log(event);
        } else if (!server.postRemove(event)) {
            return fail(QStringLiteral("the notification could not be posted"));
        }
        settle(bus);
        return 0;
    }

    bool numbers = true;
    bool ok = false;
    const double perSecond = parser.value(rate).toDouble(&ok);
    numbers = numbers && ok && perSecond >= 0;
    const qulonglong events = parser.value(count).toULongLong(&ok);
    numbers = numbers && ok;
    const qulonglong randomSeed = parser.value(seed).toULongLong(&ok);
    numbers = numbers && ok;
    if (!numbers) {
        return fail(QStringLiteral("--rate, --count and --seed take numbers"), 2);
    }
    QString error;
    if (!server.open(&error)) {
        return fail(error);
    }

    SyslogReceiver receiver(server);
    if (!parser.isSet(noUdp)) {
        const bool given = parser.isSet(udpPort);
        const quint16 port =
            given ? static_cast<quint16>(parser.value(udpPort).toUInt()) : kSyslogPort;
        if (receiver.listen(port)) {
            say(QStringLiteral("receiving syslog datagrams on UDP port %1").arg(receiver.port()));
        } else if (given) {
            return fail(QStringLiteral("cannot receive on UDP port %1").arg(port));
        } else {
            say(QStringLiteral("UDP port 514 not permitted; give one with --udp-port"));
        }
    }
    say(QStringLiteral("logging into %1, %2 made-up events a second")
            .arg(directory.filePath(parser.value(logName)))
            .arg(perSecond));
    if (events > 0) {
        QObject::connect(&server, &ServerSimulator::finished, &app, [&bus] {
            settle(bus);
            QCoreApplication::quit();
        });
    }
    server.generate(perSecond, events, randomSeed);
    return QCoreApplication::exec();
}
