#include "cli/Cli.h"

#include <functional>
#include <map>
#include <ostream>

#include "cli/Commands.h"
#include "core/Version.h"

namespace velmora::cli {

namespace {

constexpr const char* kUsage = R"(Usage: velmoractl [--data-dir DIR] COMMAND [ARGUMENTS]

The command-line companion of the Velmora console. It reads and writes the same data directory
as the console and the server: DIR, else $VELMORA_DATA_DIR, else /var/lib/velmora.

Commands:
  settings dump              print the settings archive as one JSON object
  settings load FILE         archive the JSON object in FILE (- for standard input) as the
                             settings and tell the server to re-read them
  settings get KEY           print one setting as JSON, as the console reads it
  settings set KEY VALUE     change one setting, typed by its key, and tell the server
  events [--raw-dates] [--json]
                             print the event list as the console builds it at start, newest
                             first: tab-separated, or one JSON object a line; dates in the
                             configured format (time zone from TZ), or as read
  counts                     print the events of each severity as one JSON object
  status                     print as one JSON object what the console's Home page shows:
                             whether the server runs, whether actions and export are set up,
                             the events of each severity and the overall level
  report --by host|message|priority|date [--log NAME] [--json]
                             print the report the Reports page builds, every group open:
                             the log file NAME (without ".log") or all of them; tab-separated
                             as the page exports it, or one JSON object a group:
                             {"key": KEY, "details": [[SECOND, THIRD, FORTH], ...]}
  test-message [--host ADDRESS] [--port PORT]
                             send the console's syslog test message to the server, by
                             default to 127.0.0.1 port 514

Options:
  --data-dir DIR             the data directory
  -h, --help                 print this help
  --version                  print the version

Exit status: 0 done, 1 the work could not be done, 2 bad command line or input.
)";

using Verb = std::function<int(const Context&)>;

const std::map<std::string, Verb, std::less<>>& verbs() {
    static const std::map<std::string, Verb, std::less<>> table = {
        {"settings", settingsCommand}, {"events", eventsCommand},
        {"counts", countsCommand},     {"status", statusCommand},
        {"report", reportCommand},     {"test-message", testMessageCommand},
    };
    return table;
}

} // namespace

int Context::fail(int status, const std::string& message) const {
    environment.err << "velmoractl: " << message << '\n';
    return status;
}

int run(const std::vector<std::string>& arguments, const Environment& environment) {
    std::string dataDirectory;
    std::vector<std::string> rest;
    bool optionsEnded = false;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& a = arguments[i];
        if (optionsEnded || a.empty() || a[0] != '-' || a == "-") {
            rest.push_back(a);
        } else if (a == "--") {
            optionsEnded = true;
        } else if (a == "-h" || a == "--help") {
            environment.out << kUsage;
            return kExitOk;
        } else if (a == "--version") {
            environment.out << "velmoractl " << kVersion << '\n';
            return kExitOk;
        } else if (a == "--data-dir") {
            if (i + 1 == arguments.size()) {
                environment.err << "velmoractl: --data-dir needs a directory\n";
                return kExitUsage;
            }
            dataDirectory = arguments[++i];
        } else if (a.starts_with("--data-dir=")) {
            dataDirectory = a.substr(std::string_view("--data-dir=").size());
        } else if (rest.empty()) {
            environment.err << "velmoractl: unknown option " << a << "\n" << kUsage;
            return kExitUsage;
        } else {
            rest.push_back(a); // an option of the verb's own
        }
    }
    if (rest.empty()) {
        environment.err << kUsage;
        return kExitUsage;
    }
    const auto verb = verbs().find(rest.front());
    if (verb == verbs().end()) {
        environment.err << "velmoractl: unknown command " << rest.front() << "\n" << kUsage;
        return kExitUsage;
    }
    rest.erase(rest.begin());
    const Context context{
        std::move(rest),
        SettingsStore(resolveDataDirectory(dataDirectory, environment.dataDirectoryVariable)),
        environment};
    return verb->second(context);
}

} // namespace velmora::cli
