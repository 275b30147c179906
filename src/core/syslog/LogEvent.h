#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "core/syslog/SyslogMessage.h"

namespace velmora {

// The longest log line the server writes, its line feed included: the console reads a log file
// in pieces of at most this many bytes, so a longer line would come back as two events.
inline constexpr std::size_t kMaxLogLineBytes = 1023;
// The longest host text: a DNS name has at most 253 characters.
inline constexpr std::size_t kMaxHostBytes = 255;

// One event as the server writes and announces it. The texts are made so that the line
// "DATE,PRIORITY,HOST,MESSAGE\n" reads back, by the console's strtok rules, to exactly these
// four fields: valid UTF-8; no comma, CR or LF in the host; no CR or LF in the message, which
// is never empty; the whole line within kMaxLogLineBytes.
struct LogEvent {
    std::int64_t date = 0; // seconds since 1970, when it was received
    int priority = kDefaultSyslogPriority;
    std::string host;
    std::string message;

    // "Local7.Debug"
    std::string_view priorityText() const;
};

// The event of a message received at `date` from `host` (an address or a name, made safe
// here). The message text is the content after the header, RFC 5424's application name and
// process id in front of it as "APP[PROCID]: "; every control character becomes a space,
// ill-formed UTF-8 becomes U+FFFD, an empty text becomes "-", and a text too long for the line
// is cut at a character boundary.
LogEvent makeLogEvent(std::int64_t date, const SyslogMessage& message, std::string_view host);

// The host text made safe for the line: controls, commas and anything that is not valid
// UTF-8 become "_" or U+FFFD, cut to kMaxHostBytes; "-" when empty.
std::string safeHostText(std::string_view host);

// Appends "DATE,PRIORITY,HOST,MESSAGE\n".
void appendLogLine(std::string& out, const LogEvent& event);

} // namespace velmora
