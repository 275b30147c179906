#include "server/ServerOptions.h"

#include <gtest/gtest.h>

#include "support/TempDir.h"

namespace velmora::server {
namespace {

std::string listenText(const ServerOptions& options) {
    std::string text;
    for (const ListenAddress& address : options.listen) {
        text += (text.empty() ? "" : " ") + address.text();
    }
    return text;
}

TEST(ServerOptions, CommandLineOverConfigurationFileOverDefaults) {
    test::TempDir dir;
    test::writeFile(dir / "server.conf", "# comment\n"
                                         "data-dir = /srv/conf\n"
                                         "listen = udp://0.0.0.0:1514   # trailing comment\n"
                                         "bus = none\n"
                                         "forward = tcp://collector.example:6514\n"
                                         "queue = 2048\n"
                                         "notify-limit = 0\n");
    const std::string conf = (dir / "server.conf").string();
    const std::string missing = (dir / "absent.conf").string();
    const struct {
        std::vector<std::string> arguments;
        const char* environment;
        const char* dataDirectory;
        const char* listen;
        Bus bus;
    } cases[] = {
        {{"--config", missing + "x"}, nullptr, "", "", Bus::System}, // named but absent: error
        {{"--config=" + conf}, nullptr, "/srv/conf", "udp://0.0.0.0:1514", Bus::None},
        {{"--config", conf, "--data-dir", "/d"}, "/env", "/d", "udp://0.0.0.0:1514", Bus::None},
        {{"--config", conf}, "/env", "/env", "udp://0.0.0.0:1514", Bus::None},
        {{"--config", conf, "--session", "--listen", "tcp://[::1]:5514", "--listen",
          "udp://127.0.0.1:5514"},
         nullptr,
         "/srv/conf",
         "tcp://[::1]:5514 udp://127.0.0.1:5514",
         Bus::Session},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.arguments));
        const auto options = readServerOptions(c.arguments, c.environment);
        if (*c.dataDirectory == '\0') {
            EXPECT_EQ(std::get<EarlyExit>(options).status, 2);
            continue;
        }
        const ServerOptions& read = std::get<ServerOptions>(options);
        EXPECT_EQ(read.dataDirectory, c.dataDirectory);
        EXPECT_EQ(listenText(read), c.listen);
        EXPECT_EQ(read.bus, c.bus);
        EXPECT_EQ(read.forward->text(), "tcp://collector.example:6514");
        EXPECT_EQ(read.queueEvents, 2048u);
        EXPECT_EQ(read.notifyLimit, 0u);
    }
}

TEST(ServerOptions, TheShippedConfigurationKeepsTheDefaults) {
    const ServerOptions read = std::get<ServerOptions>(
        readServerOptions({"--config", VELMORA_SOURCE_DIR "/resources/server/server.conf"}, ""));
    EXPECT_EQ(read.dataDirectory, "/var/lib/velmora");
    EXPECT_EQ(listenText(read), "udp://[::]:514 tcp://[::]:514");
    EXPECT_EQ(read.bus, Bus::System);
    EXPECT_FALSE(read.forward);
    EXPECT_EQ(read.queueEvents, ServerOptions().queueEvents);
}

TEST(ServerOptions, BadInputIsAClearErrorWithStatus2) {
    const struct {
        std::vector<std::string> arguments;
        const char* says;
    } cases[] = {
        {{"--help"}, "Usage: velmora-server"},
        {{"--version"}, "velmora-server 0."},
        {{"--listen"}, "needs a value"},
        {{"--listen", "http://x:1"}, "is not udp://ADDRESS:PORT"},
        {{"--listen", "udp://127.0.0.1"}, "needs ADDRESS:PORT"},
        {{"--listen", "udp://127.0.0.1:65536"}, "port from 1 to 65535"},
        {{"--listen", "tcp://::1:514"}, "needs ADDRESS:PORT"},
        {{"--listen", "tcp://[::1:514"}, "[IPV6 ADDRESS]:PORT"},
        {{"--frobnicate"}, "unknown option '--frobnicate'"},
    };
    for (const auto& c : cases) {
        const EarlyExit exit = std::get<EarlyExit>(readServerOptions(c.arguments, nullptr));
        EXPECT_NE(exit.text.find(c.says), std::string::npos) << exit.text;
        EXPECT_EQ(exit.status,
                  c.arguments[0].starts_with("--help") || c.arguments[0].starts_with("--version")
                      ? 0
                      : 2);
    }
}

TEST(ServerOptions, ConfigurationErrorsNameTheLine) {
    const struct {
        const char* content;
        const char* says;
    } cases[] = {
        {"listen udp://0.0.0.0:514\n", "f:1: expected KEY = VALUE"},
        {"\n\ncolour = blue\n", "f:3: unknown setting \"colour\""},
        {"bus = desktop\n", "f:1: bus must be system, session or none"},
        {"queue = 12\n", "f:1: queue must be a number of events"},
        {"forward = udp://h:514\n", "f:1: forward \"udp://h:514\" is not tcp://HOST:PORT"},
        {"notify-limit = -1\n", "f:1: notify-limit must be a number"},
    };
    for (const auto& c : cases) {
        ServerOptions options;
        const Status applied = applyConfigFile("f", c.content, options);
        ASSERT_FALSE(applied.ok());
        EXPECT_NE(applied.error().message.find(c.says), std::string::npos)
            << applied.error().message;
    }
}

} // namespace
} // namespace velmora::server
