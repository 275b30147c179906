#pragma once

#include <string_view>

namespace velmora {

// A syslog priority: facility × 8 + severity, 0 to 191.
inline constexpr int kMaxSyslogPriority = 191;
// What a message without a valid priority gets: facility user, severity notice (RFC 3164's
// default for a relay), "User.Notice".
inline constexpr int kDefaultSyslogPriority = 13;

// One received syslog message, read leniently: RFC 5424 ("<PRI>1 TIMESTAMP HOST APP PROCID
// MSGID [SD] MSG"), RFC 3164 ("<PRI>Mmm dd hh:mm:ss HOST TAG: CONTENT") and the variants
// devices send (no header at all, no host after the time stamp, an ISO 8601 time stamp, a year
// in the time stamp). Nothing is ever refused: what cannot be read as a header is content.
// The views point into the bytes the message was parsed from.
struct SyslogMessage {
    int priority = kDefaultSyslogPriority;
    // RFC 5424's application name and process id; empty when nil ("-") or in other forms.
    std::string_view app;
    std::string_view procId;
    // RFC 3164: the tag and content after the time stamp and host; RFC 5424: MSG, without a
    // byte order mark; anything else: everything after a valid priority. Not yet made one line.
    std::string_view content;

    int facility() const { return priority / 8; }
    int severity() const { return priority % 8; }
};

SyslogMessage parseSyslogMessage(std::string_view bytes) noexcept;

} // namespace velmora
