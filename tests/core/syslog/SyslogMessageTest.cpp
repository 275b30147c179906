#include "core/syslog/SyslogMessage.h"

#include <string>

#include <gtest/gtest.h>

#include "core/syslog/LogEvent.h"

namespace velmora {
namespace {

using namespace std::string_literals;

// The priority text and the message text the server makes of what it receives.
TEST(SyslogMessage, EventTextsOfRealAndMalformedMessages) {
    const struct {
        std::string received;
        const char* priority;
        std::string message;
    } cases[] = {
        // RFC 5424 as logger sends it; app name and proc id in front; nil parts left out
        {"<13>1 2026-11-23T10:00:00.123+01:00 web1 alice 4711 - [timeQuality tzKnown=\"1\"] hi",
         "User.Notice", "alice[4711]: hi"},
        {"<165>1 2003-10-11T22:14:15.003Z mymachine evntslog - ID47 "
         "[exampleSDID@32473 iut=\"3\" eventID=\"1011\"][x@1 a=\"q\\]\\\"\"] \xEF\xBB\xBF"
         "An app",
         "Local4.Notice", "evntslog: An app"},
        {"<14>1 - - - - - -", "User.Informational", "-"},
        {"<14>1 - - - 12 - - text", "User.Informational", "text"},
        {"<14>1 - h a p m [x a=\"open", "User.Informational", "1 - h a p m [x a=\"open"},
        // RFC 3164, with and without a host, ISO and year time stamps
        {"<34>Oct 11 22:14:15 mymachine su: 'su root' failed", "Auth.Critical",
         "su: 'su root' failed"},
        {"<13>Nov  3 01:02:03 host sshd[42]: Accepted", "User.Notice", "sshd[42]: Accepted"},
        {"<13>Nov 23 10:00:00 sshd[42]: no host", "User.Notice", "sshd[42]: no host"},
        {"<13>2026-11-23T10:00:00Z h app: iso", "User.Notice", "app: iso"},
        {"<189>Mar 01 2026 00:00:00.123 rtr %SYS-5-CONFIG_I: x", "Local7.Notice",
         "%SYS-5-CONFIG_I: x"},
        {"<191>Kestrix Velmora - Test message", "Local7.Debug", "Kestrix Velmora - Test message"},
        {"<0>", "Kern.Emergency", "-"},
        // no valid priority: User.Notice, and nothing of the text is lost
        {"no priority", "User.Notice", "no priority"},
        {"<999>too high", "User.Notice", "<999>too high"},
        {"<1a>x", "User.Notice", "<1a>x"},
        {"<13", "User.Notice", "<13"},
        {"", "User.Notice", "-"},
        // one line: controls become spaces, framing at the end goes, bad UTF-8 becomes U+FFFD
        {"<13>a\r\nb\tc\0d\x7F"
         "e\xC2\x85"
         "f\n\0"s,
         "User.Notice", "a  b c d e f"},
        {"<13>caf\xC3\xA9 \xFF\xC0\xAF", "User.Notice",
         "caf\xC3\xA9 \xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"},
        {"<13>\r\n\n", "User.Notice", "-"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.received);
        const LogEvent event = makeLogEvent(7, parseSyslogMessage(c.received), "10.0.0.1");
        EXPECT_EQ(event.priorityText(), c.priority);
        EXPECT_EQ(event.message, c.message);
    }
}

} // namespace
} // namespace velmora
