// Reads arbitrary bytes as the server receives them: once as one datagram, and as a TCP stream
// cut into messages by the framer, fed in two reads split where the input says. Every message
// becomes an event and its log line; any line longer than the console reads in one piece, not
// valid UTF-8, or not reading back to exactly the event's four fields aborts, as does a framer
// that gives out more bytes than it was given.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "core/eventlog/LogLineReader.h"
#include "core/eventlog/Utf8.h"
#include "core/syslog/LogEvent.h"
#include "core/syslog/SyslogFramer.h"

namespace {

void check(bool condition) {
    if (!condition) {
        std::abort();
    }
}

void receive(std::string_view message, std::string_view host) {
    const velmora::LogEvent event =
        velmora::makeLogEvent(1700000000, velmora::parseSyslogMessage(message), host);
    std::string line;
    velmora::appendLogLine(line, event);
    check(line.size() <= velmora::kMaxLogLineBytes && velmora::isValidUtf8(line));
    const std::optional<velmora::LogFields> fields = velmora::parseLogPiece(line);
    check(fields.has_value());
    check(fields->date == "1700000000" && fields->priority == event.priorityText());
    check(fields->host == event.host && fields->message == event.message);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    receive(bytes, "10.0.0.1");
    if (size < 2) {
        return 0;
    }
    // The first byte says where the stream is split and how small the framer's limit is; the
    // host is taken from the input too, as a reverse lookup could answer anything.
    const std::size_t split = data[0] % size;
    const std::size_t limit = 16 + data[1] * 4u;
    const std::string_view stream = bytes.substr(2);
    receive(bytes.substr(0, 1), stream.substr(0, data[1] % 300));
    velmora::SyslogFramer framer(limit);
    std::size_t given = 0;
    for (const std::string_view part :
         {stream.substr(0, split), stream.substr(std::min(split, stream.size()))}) {
        framer.append(part);
        while (const std::optional<std::string_view> message = framer.next()) {
            given += message->size();
            check(message->size() <= limit);
            receive(*message, "::1");
        }
    }
    if (const std::optional<std::string_view> last = framer.finish()) {
        given += last->size();
        receive(*last, "::1");
    }
    check(given <= stream.size());
    return 0;
}
