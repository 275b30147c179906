#include "app/CommandLine.h"

#include <filesystem>
#include <system_error>

#include <QCommandLineParser>

#include "core/Version.h"
#include "core/settings/SettingsStore.h"

namespace velmora {

namespace {

QString fromView(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

// The toolkit's options that take a value, and those that do not, as the application accepts
// them with one dash.
const QStringList kToolkitValueOptions = {
    QStringLiteral("platform"),        QStringLiteral("platformpluginpath"),
    QStringLiteral("platformtheme"),   QStringLiteral("plugin"),
    QStringLiteral("style"),           QStringLiteral("stylesheet"),
    QStringLiteral("qwindowgeometry"), QStringLiteral("qwindowicon"),
    QStringLiteral("qwindowtitle"),    QStringLiteral("display"),
    QStringLiteral("session")};
const QStringList kToolkitFlagOptions = {QStringLiteral("reverse"), QStringLiteral("widgetcount"),
                                         QStringLiteral("nograb"), QStringLiteral("dograb")};

void addToolkitOptions(QCommandLineParser& parser) {
    for (const QString& name : kToolkitValueOptions) {
        QCommandLineOption option(name);
        option.setValueName(QStringLiteral("value"));
        option.setFlags(QCommandLineOption::HiddenFromHelp);
        parser.addOption(option);
    }
    for (const QString& name : kToolkitFlagOptions) {
        QCommandLineOption option(name);
        option.setFlags(QCommandLineOption::HiddenFromHelp);
        parser.addOption(option);
    }
}

} // namespace

std::variant<StartOptions, EarlyExit> readCommandLine(const QStringList& arguments,
                                                      const char* dataDirectoryVariable) {
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Velmora, the console of the Velmora syslog server: it shows the events "
                       "the server logs and edits the settings it obeys. One console runs per "
                       "data directory: started again, it brings that console's window forward."));
    parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
    // Our own help and version options: the parser's standard ones need a running application
    // and offer the toolkit's options too.
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")},
                                  QStringLiteral("Show this help and exit."));
    const QCommandLineOption version({QStringLiteral("v"), QStringLiteral("version")},
                                     QStringLiteral("Show the version and exit."));
    parser.addOption(help);
    parser.addOption(version);
    const QCommandLineOption dataDirectory(
        QStringLiteral("data-dir"),
        QStringLiteral("The server's data directory (default: $%1, else %2).")
            .arg(fromView(kDataDirectoryVariable), fromView(kDefaultDataDirectory)),
        QStringLiteral("DIR"));
    QCommandLineOption quitAfterStart(QStringLiteral("quit-after-start"));
    QCommandLineOption debugDump(QStringLiteral("debug-dump"), QString(), QStringLiteral("FILE"));
    QCommandLineOption screenshots(QStringLiteral("screenshots"), QString(), QStringLiteral("DIR"));
    QCommandLineOption startOnScan(QStringLiteral("start-on-scan"));
    for (QCommandLineOption* hidden : {&quitAfterStart, &debugDump, &screenshots, &startOnScan}) {
        hidden->setFlags(QCommandLineOption::HiddenFromHelp);
    }
    parser.addOption(dataDirectory);
    parser.addOption(quitAfterStart);
    parser.addOption(debugDump);
    parser.addOption(screenshots);
    parser.addOption(startOnScan);
    addToolkitOptions(parser);

    if (!parser.parse(QStringList{QStringLiteral("velmora")} + arguments)) {
        return EarlyExit{
            2, QStringLiteral("velmora: %1\nTry 'velmora --help'.\n").arg(parser.errorText()),
            true};
    }
    if (parser.isSet(help)) {
        // Without a running application the parser cannot know the program's name.
        return EarlyExit{0,
                         parser.helpText().replace(QStringLiteral("<executable_name>"),
                                                   QStringLiteral("velmora")),
                         false};
    }
    if (parser.isSet(version)) {
        return EarlyExit{0, QStringLiteral("velmora %1\n").arg(QString::fromLatin1(kVersion)),
                         false};
    }
    if (!parser.positionalArguments().isEmpty()) {
        return EarlyExit{2,
                         QStringLiteral("velmora: unexpected argument '%1'\nTry 'velmora "
                                        "--help'.\n")
                             .arg(parser.positionalArguments().front()),
                         true};
    }

    StartOptions options;
    options.dataDirectory =
        resolveDataDirectory(parser.value(dataDirectory).toStdString(), dataDirectoryVariable);
    options.quitAfterStart = parser.isSet(quitAfterStart);
    options.debugDump = parser.value(debugDump);
    options.screenshots = parser.value(screenshots);
    options.startOnScan = parser.isSet(startOnScan);
    // A directory that does not exist yet is normal before the server's first run: the console
    // starts empty and follows the server. Something else under that name is a mistake.
    std::error_code error;
    if (std::filesystem::exists(options.dataDirectory, error) &&
        !std::filesystem::is_directory(options.dataDirectory, error)) {
        return EarlyExit{1,
                         QStringLiteral("velmora: %1 is not a directory.\nGive the data "
                                        "directory with --data-dir DIR.\n")
                             .arg(QString::fromStdString(options.dataDirectory)),
                         true};
    }
    return options;
}

} // namespace velmora
