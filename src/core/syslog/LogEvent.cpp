#include "core/syslog/LogEvent.h"

#include <charconv>

#include "core/eventlog/Utf8.h"
#include "core/presentation/PriorityNames.h"

namespace velmora {

namespace {

constexpr std::string_view kEmptyText = "-";
constexpr std::size_t kMaxDateBytes = 20; // an int64 in decimal, with its sign

bool isControlByte(unsigned char c) {
    return c < 0x20 || c == 0x7F;
}

// Replaces C0 controls and DEL, and the C1 controls U+0080..U+009F (C2 80..C2 9F in valid
// UTF-8), by `replacement`; valid UTF-8 stays valid.
void replaceControls(std::string& text, char replacement) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        if (isControlByte(c)) {
            text[i] = replacement;
        } else if (c == 0xC2 && i + 1 < text.size() &&
                   static_cast<unsigned char>(text[i + 1]) <= 0x9F) {
            text.replace(i, 2, 1, replacement);
        }
    }
}

// Frames leave line ends and NUL padding behind a message; they are no part of its text.
std::string_view withoutTrailingFraming(std::string_view text) {
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r' || text.back() == '\0')) {
        text.remove_suffix(1);
    }
    return text;
}

std::string validText(std::string_view bytes) {
    return isValidUtf8(bytes) ? std::string(bytes) : decodeLenient(bytes);
}

std::string messageText(const SyslogMessage& message) {
    std::string raw;
    if (!message.app.empty()) {
        raw.reserve(message.app.size() + message.procId.size() + message.content.size() + 4);
        raw += message.app;
        if (!message.procId.empty()) {
            raw += '[';
            raw += message.procId;
            raw += ']';
        }
        raw += ": ";
    }
    raw += withoutTrailingFraming(message.content);
    std::string text = validText(raw);
    replaceControls(text, ' ');
    return text.empty() ? std::string(kEmptyText) : text;
}

} // namespace

std::string_view LogEvent::priorityText() const {
    return priorityName(priority);
}

std::string safeHostText(std::string_view host) {
    std::string text = validText(utf8Prefix(host, kMaxHostBytes));
    replaceControls(text, '_');
    for (char& c : text) {
        if (c == ',') {
            c = '_';
        }
    }
    if (text.size() > kMaxHostBytes) {
        text.resize(utf8Prefix(text, kMaxHostBytes).size());
    }
    return text.empty() ? std::string(kEmptyText) : text;
}

LogEvent makeLogEvent(std::int64_t date, const SyslogMessage& message, std::string_view host) {
    LogEvent event{date, message.priority, safeHostText(host), messageText(message)};
    // DATE,PRIORITY,HOST,MESSAGE and the line feed.
    char digits[kMaxDateBytes];
    const auto dateBytes =
        static_cast<std::size_t>(std::to_chars(digits, digits + sizeof digits, date).ptr - digits);
    const std::size_t fixed = dateBytes + event.priorityText().size() + event.host.size() + 4;
    event.message.resize(utf8Prefix(event.message, kMaxLogLineBytes - fixed).size());
    return event;
}

void appendLogLine(std::string& out, const LogEvent& event) {
    char date[kMaxDateBytes];
    out.append(date, std::to_chars(date, date + sizeof date, event.date).ptr);
    out += ',';
    out += event.priorityText();
    out += ',';
    out += event.host;
    out += ',';
    out += event.message;
    out += '\n';
}

} // namespace velmora
