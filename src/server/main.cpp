// velmora-server: the Velmora syslog server.

#include <cstdio>
#include <cstdlib>
#include <string>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <variant>
#include <vector>

#include "core/settings/ServerStatus.h"
#include "core/settings/SettingsStore.h"
#include "server/Server.h"

int main(int argc, char* argv[]) {
    using namespace velmora;
    // The console's Home page and velmoractl status look for a process of exactly this name.
    ::prctl(PR_SET_NAME, std::string(kServerProcessName).c_str(), 0, 0, 0);
    // Log files and the pipe are shared with the group of the data directory, whose members
    // run the console: it rewrites log files and writes the pipe. Others get nothing.
    ::umask(007);

    const std::string variable(kDataDirectoryVariable);
    std::variant<server::ServerOptions, server::EarlyExit> options = server::readServerOptions(
        std::vector<std::string>(argv + 1, argv + argc), std::getenv(variable.c_str()));
    if (const auto* exit = std::get_if<server::EarlyExit>(&options)) {
        std::fputs(exit->text.c_str(), exit->status == 0 ? stdout : stderr);
        return exit->status;
    }
    server::Server server(std::get<server::ServerOptions>(std::move(options)));
    return server.run();
}
