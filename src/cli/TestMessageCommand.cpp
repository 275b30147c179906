#include <charconv>
#include <cstdint>
#include <string>

#include "cli/Commands.h"
#include "core/system/TestMessage.h"

namespace velmora::cli {

namespace {

constexpr const char* kUsage = "usage: test-message [--host ADDRESS] [--port PORT]";

bool parsePort(const std::string& text, std::uint16_t& port) {
    unsigned value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || value == 0 || value > 65535) {
        return false;
    }
    port = static_cast<std::uint16_t>(value);
    return true;
}

} // namespace

int testMessageCommand(const Context& context) {
    std::string host(TestMessage::kDefaultAddress);
    std::uint16_t port = TestMessage::kDefaultPort;
    const std::vector<std::string>& arguments = context.arguments;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& a = arguments[i];
        if (a == "--host" && i + 1 < arguments.size()) {
            host = arguments[++i];
        } else if (a == "--port" && i + 1 < arguments.size()) {
            if (!parsePort(arguments[++i], port)) {
                return context.fail(kExitUsage, "--port needs a number from 1 to 65535");
            }
        } else {
            return context.fail(kExitUsage, kUsage);
        }
    }
    Result<TestMessage> message = TestMessage::open();
    if (!message) {
        return context.fail(kExitFailure, message.error().message);
    }
    // The console leaves its socket open; this process ends at once, which closes it.
    if (const Status sent = message->send(host, port); !sent) {
        return context.fail(sent.error().code == ErrorCode::Invalid ? kExitUsage : kExitFailure,
                            sent.error().message);
    }
    context.out() << "sent \"" << TestMessage::kPayload << "\" to " << host << ':' << port << '\n';
    return kExitOk;
}

} // namespace velmora::cli
