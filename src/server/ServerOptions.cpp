#include "server/ServerOptions.h"

#include <charconv>
#include <fstream>
#include <sstream>

#include "core/Version.h"
#include "core/settings/SettingsStore.h"

namespace velmora::server {

namespace {

constexpr std::string_view kUsage =
    "Usage: velmora-server [--data-dir DIR] [--config FILE] [--session]\n"
    "                      [--listen udp://ADDRESS:PORT]... [--listen tcp://ADDRESS:PORT]...\n"
    "\n"
    "The Velmora syslog server: receives syslog messages on UDP and TCP, writes each event it\n"
    "keeps to a log file of the data directory, announces it on D-Bus, and obeys the settings\n"
    "the console saves.\n"
    "\n"
    "  --data-dir DIR   the data directory (default: $VELMORA_DATA_DIR, else the configuration\n"
    "                   file's, else /var/lib/velmora)\n"
    "  --config FILE    the configuration file (default /etc/velmora/server.conf; the\n"
    "                   defaults apply when it is absent)\n"
    "  --session        announce events on the session bus, not the system bus\n"
    "  --listen URL     receive on this address instead of the configured ones; repeatable\n"
    "                   (default udp://[::]:514 and tcp://[::]:514, IPv4 and IPv6)\n"
    "  -h, --help       show this help and exit\n"
    "  -v, --version    show the version and exit\n";

Error invalid(std::string message) {
    return Error{ErrorCode::Invalid, std::move(message)};
}

std::string_view trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(" \t\r");
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

template <typename Number>
std::optional<Number> number(std::string_view text, Number min, Number max) {
    Number value{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || value < min || value > max) {
        return std::nullopt;
    }
    return value;
}

struct HostPort {
    std::string host;
    std::uint16_t port;
};

// "HOST:PORT" or "[IPV6]:PORT" after the scheme.
Result<HostPort> hostAndPort(std::string_view url, std::string_view rest) {
    std::string_view host;
    std::string_view port;
    if (rest.starts_with('[')) {
        const std::size_t close = rest.find(']');
        if (close == std::string_view::npos || rest.substr(close + 1, 1) != ":") {
            return invalid("\"" + std::string(url) + "\" needs [IPV6 ADDRESS]:PORT");
        }
        host = rest.substr(1, close - 1);
        port = rest.substr(close + 2);
    } else {
        const std::size_t colon = rest.rfind(':');
        if (colon == std::string_view::npos || rest.find(':') != colon) {
            return invalid("\"" + std::string(url) + "\" needs ADDRESS:PORT");
        }
        host = rest.substr(0, colon);
        port = rest.substr(colon + 1);
    }
    const std::optional<std::uint16_t> value = number<std::uint16_t>(port, 1, 65535);
    if (host.empty() || !value) {
        return invalid("\"" + std::string(url) + "\" needs an address and a port from 1 to 65535");
    }
    return HostPort{std::string(host), *value};
}

std::string joinHostPort(const std::string& host, std::uint16_t port) {
    const bool v6 = host.find(':') != std::string::npos;
    return (v6 ? "[" + host + "]" : host) + ":" + std::to_string(port);
}

Result<Bus> busNamed(std::string_view name) {
    if (name == "system") {
        return Bus::System;
    }
    if (name == "session") {
        return Bus::Session;
    }
    if (name == "none") {
        return Bus::None;
    }
    return invalid("bus must be system, session or none, not \"" + std::string(name) + "\"");
}

Status applySetting(std::string_view key, std::string_view value, ServerOptions& options,
                    bool& listenSeen) {
    if (key == "data-dir") {
        options.dataDirectory = value;
    } else if (key == "listen") {
        Result<ListenAddress> address = ListenAddress::parse(value);
        if (!address) {
            return address.error();
        }
        if (!listenSeen) {
            options.listen.clear();
            listenSeen = true;
        }
        options.listen.push_back(*address);
    } else if (key == "bus") {
        Result<Bus> bus = busNamed(value);
        if (!bus) {
            return bus.error();
        }
        options.bus = *bus;
    } else if (key == "forward") {
        Result<ForwardTarget> target = ForwardTarget::parse(value);
        if (!target) {
            return target.error();
        }
        options.forward = *target;
    } else if (key == "queue" || key == "forward-queue") {
        const std::optional<std::size_t> events =
            number<std::size_t>(value, 1024, std::size_t{1} << 26);
        if (!events) {
            return invalid(std::string(key) + " must be a number of events from 1024 to 67108864");
        }
        (key == "queue" ? options.queueEvents : options.forwardQueueEvents) = *events;
    } else if (key == "notify-limit") {
        const std::optional<std::uint64_t> limit =
            number<std::uint64_t>(value, 0, std::uint64_t{1} << 32);
        if (!limit) {
            return invalid("notify-limit must be a number of notifications a second (0: no limit)");
        }
        options.notifyLimit = *limit;
    } else {
        return invalid("unknown setting \"" + std::string(key) + "\"");
    }
    return {};
}

std::vector<ListenAddress> defaultListen() {
    return {{ListenAddress::Transport::Udp, "::", kSyslogPort},
            {ListenAddress::Transport::Tcp, "::", kSyslogPort}};
}

EarlyExit usageError(const std::string& message) {
    return {2, "velmora-server: " + message + "\nTry 'velmora-server --help'.\n"};
}

struct CommandLine {
    std::string dataDirectory;
    std::string configPath;
    bool session = false;
    std::vector<ListenAddress> listen;
};

std::variant<CommandLine, EarlyExit> parseArguments(const std::vector<std::string>& arguments) {
    CommandLine line;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        if (argument == "-h" || argument == "--help") {
            return EarlyExit{0, std::string(kUsage)};
        }
        if (argument == "-v" || argument == "--version") {
            return EarlyExit{0, std::string("velmora-server ") + kVersion + "\n"};
        }
        if (argument == "--session") {
            line.session = true;
            continue;
        }
        const std::size_t equals = argument.find('=');
        const std::string name = argument.substr(0, equals);
        if (name != "--data-dir" && name != "--config" && name != "--listen") {
            return usageError("unknown option '" + argument + "'");
        }
        std::string value;
        if (equals != std::string::npos) {
            value = argument.substr(equals + 1);
        } else if (i + 1 < arguments.size()) {
            value = arguments[++i];
        } else {
            return usageError("option '" + name + "' needs a value");
        }
        if (name == "--listen") {
            Result<ListenAddress> address = ListenAddress::parse(value);
            if (!address) {
                return usageError(address.error().message);
            }
            line.listen.push_back(*address);
        } else {
            (name == "--data-dir" ? line.dataDirectory : line.configPath) = value;
        }
    }
    return line;
}

} // namespace

Result<ListenAddress> ListenAddress::parse(std::string_view url) {
    ListenAddress address;
    std::string_view rest;
    if (url.starts_with("udp://")) {
        rest = url.substr(6);
    } else if (url.starts_with("tcp://")) {
        address.transport = Transport::Tcp;
        rest = url.substr(6);
    } else {
        return invalid("\"" + std::string(url) +
                       "\" is not udp://ADDRESS:PORT or tcp://ADDRESS:PORT");
    }
    Result<HostPort> hostPort = hostAndPort(url, rest);
    if (!hostPort) {
        return hostPort.error();
    }
    address.host = std::move(hostPort->host);
    address.port = hostPort->port;
    return address;
}

std::string ListenAddress::text() const {
    return (transport == Transport::Udp ? "udp://" : "tcp://") + joinHostPort(host, port);
}

Result<ForwardTarget> ForwardTarget::parse(std::string_view url) {
    if (!url.starts_with("tcp://")) {
        return invalid("forward \"" + std::string(url) + "\" is not tcp://HOST:PORT");
    }
    Result<HostPort> hostPort = hostAndPort(url, url.substr(6));
    if (!hostPort) {
        return hostPort.error();
    }
    return ForwardTarget{std::move(hostPort->host), hostPort->port};
}

std::string ForwardTarget::text() const {
    return "tcp://" + joinHostPort(host, port);
}

Status applyConfigFile(std::string_view path, std::string_view content, ServerOptions& options) {
    std::istringstream lines{std::string(content)};
    std::string line;
    bool listenSeen = false;
    for (int number = 1; std::getline(lines, line); ++number) {
        const std::string_view text = trimmed(std::string_view(line).substr(0, line.find('#')));
        if (text.empty()) {
            continue;
        }
        const std::size_t equals = text.find('=');
        const std::string where = std::string(path) + ":" + std::to_string(number) + ": ";
        if (equals == std::string_view::npos) {
            return invalid(where + "expected KEY = VALUE");
        }
        const Status applied = applySetting(trimmed(text.substr(0, equals)),
                                            trimmed(text.substr(equals + 1)), options, listenSeen);
        if (!applied) {
            return invalid(where + applied.error().message);
        }
    }
    return {};
}

std::variant<ServerOptions, EarlyExit> readServerOptions(const std::vector<std::string>& arguments,
                                                         const char* dataDirectoryVariable) {
    std::variant<CommandLine, EarlyExit> parsed = parseArguments(arguments);
    if (auto* exit = std::get_if<EarlyExit>(&parsed)) {
        return *exit;
    }
    const CommandLine& line = std::get<CommandLine>(parsed);
    ServerOptions options;
    options.listen = defaultListen();
    if (!line.configPath.empty()) {
        options.configPath = line.configPath;
    }
    std::ifstream file(options.configPath, std::ios::binary);
    if (file) {
        std::ostringstream content;
        content << file.rdbuf();
        if (const Status applied = applyConfigFile(options.configPath, content.str(), options);
            !applied) {
            return EarlyExit{2, "velmora-server: " + applied.error().message + "\n"};
        }
    } else if (!line.configPath.empty()) {
        return EarlyExit{2, "velmora-server: cannot read the configuration file " +
                                options.configPath + "\n"};
    }
    const std::string configured = options.dataDirectory;
    options.dataDirectory = resolveDataDirectory(line.dataDirectory, dataDirectoryVariable);
    if (line.dataDirectory.empty() &&
        (dataDirectoryVariable == nullptr || *dataDirectoryVariable == '\0') &&
        !configured.empty()) {
        options.dataDirectory = configured;
    }
    if (line.session) {
        options.bus = Bus::Session;
    }
    if (!line.listen.empty()) {
        options.listen = line.listen;
    }
    return options;
}

} // namespace velmora::server
