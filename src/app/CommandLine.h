#pragma once

#include <optional>
#include <string>
#include <variant>

#include <QString>
#include <QStringList>

namespace velmora {

// What the console starts with.
struct StartOptions {
    std::string dataDirectory;
    bool quitAfterStart = false; // for the smoke test: leave as soon as the window is shown
    QString debugDump;           // for the end-to-end tests: a file kept holding the table's rows
    QString screenshots;         // for scripts/run.sh: a folder for pictures of the main pages
    bool startOnScan = false;    // for the end-to-end tests: the events page shown from the start
};

// The console does not start: it prints `text` (help, version or an error) and exits.
struct EarlyExit {
    int status = 0;
    QString text;
    bool toStandardError = false;
};

// Reads the console's command line (`arguments` without the program name) before any window
// exists, so that --help, --version and a bad option work without a display. The data
// directory is the option's, else the environment variable's, else the server's default; it
// need not exist yet, but a file in its place is an error. The toolkit's own
// options (-platform NAME, -style NAME, ...) are let through for the application to take.
std::variant<StartOptions, EarlyExit> readCommandLine(const QStringList& arguments,
                                                      const char* dataDirectoryVariable);

} // namespace velmora
