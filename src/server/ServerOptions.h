#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "core/Result.h"

namespace velmora::server {

inline constexpr std::string_view kDefaultConfigPath = "/etc/velmora/server.conf";
inline constexpr std::uint16_t kSyslogPort = 514;

// One address to receive on: "udp://ADDRESS:PORT" or "tcp://ADDRESS:PORT", an IPv6 address
// in brackets ("udp://[::]:514", which receives IPv4 too).
struct ListenAddress {
    enum class Transport { Udp, Tcp };

    Transport transport = Transport::Udp;
    std::string host;
    std::uint16_t port = kSyslogPort;

    static Result<ListenAddress> parse(std::string_view url);
    std::string text() const;
};

// Where to forward the events kept: a collector taking RFC 5424 over TCP ("tcp://HOST:PORT").
struct ForwardTarget {
    std::string host;
    std::uint16_t port = kSyslogPort;

    static Result<ForwardTarget> parse(std::string_view url);
    std::string text() const;
};

enum class Bus { System, Session, None };

// Everything the server starts with: the configuration file, the command line over it.
struct ServerOptions {
    std::string dataDirectory;
    std::string configPath = std::string(kDefaultConfigPath);
    Bus bus = Bus::System;
    std::vector<ListenAddress> listen;
    std::optional<ForwardTarget> forward;
    // Events held in memory at most: between reception and the log files, and for the
    // collector.
    std::size_t queueEvents = 262144;
    std::size_t forwardQueueEvents = 100000;
    // Notifications a second at most; 0 for no limit.
    std::uint64_t notifyLimit = 20000;
};

// The program prints `text` and exits with `status` instead of running.
struct EarlyExit {
    int status = 0;
    std::string text;
};

// Reads the command line (without the program's name) and the configuration file it names,
// or the default one, which may be absent. The command line wins over the file: --listen
// replaces the file's listen lines, --session its bus; the data directory is --data-dir's, else
// $VELMORA_DATA_DIR's, else the file's, else /var/lib/velmora.
std::variant<ServerOptions, EarlyExit> readServerOptions(const std::vector<std::string>& arguments,
                                                         const char* dataDirectoryVariable);

// Applies the lines of a configuration file to `options`. Errors name the file and line.
Status applyConfigFile(std::string_view path, std::string_view content, ServerOptions& options);

} // namespace velmora::server
