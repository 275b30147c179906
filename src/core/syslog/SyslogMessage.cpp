#include "core/syslog/SyslogMessage.h"

#include <array>
#include <cstddef>

namespace velmora {

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

// A cursor over the text after the priority; each take moves it only when it succeeds.
class Scanner {
public:
    explicit Scanner(std::string_view text)
        : m_rest(text) {}

    std::string_view rest() const { return m_rest; }
    bool atEnd() const { return m_rest.empty(); }
    bool peek(char c) const { return !m_rest.empty() && m_rest.front() == c; }

    bool take(char c) {
        if (!peek(c)) {
            return false;
        }
        m_rest.remove_prefix(1);
        return true;
    }
    // Between min and max digits.
    bool digits(std::size_t min, std::size_t max) {
        std::size_t n = 0;
        while (n < max && n < m_rest.size() && isDigit(m_rest[n])) {
            ++n;
        }
        if (n < min) {
            return false;
        }
        m_rest.remove_prefix(n);
        return true;
    }
    // Everything up to the next space (not taken), or to the end.
    std::string_view word() {
        const std::size_t space = m_rest.find(' ');
        const std::string_view taken = m_rest.substr(0, space);
        m_rest.remove_prefix(taken.size());
        return taken;
    }

private:
    std::string_view m_rest;
};

// "<PRI>" with one to three digits and a value of at most 191; -1 and nothing taken otherwise.
int takePriority(Scanner& scanner) {
    Scanner probe = scanner;
    if (!probe.take('<')) {
        return -1;
    }
    const std::string_view digits = probe.rest().substr(0, probe.rest().find('>'));
    if (digits.empty() || digits.size() > 3 || !probe.digits(digits.size(), digits.size()) ||
        !probe.take('>')) {
        return -1;
    }
    int value = 0;
    for (const char c : digits) {
        value = value * 10 + (c - '0');
    }
    if (value > kMaxSyslogPriority) {
        return -1;
    }
    scanner = probe;
    return value;
}

bool takeMonth(Scanner& scanner) {
    static constexpr std::array<std::string_view, 12> kMonths = {
        "jan", "feb", "mar", "apr", "may", "jun", "jul", "aug", "sep", "oct", "nov", "dec"};
    const std::string_view rest = scanner.rest();
    if (rest.size() < 3) {
        return false;
    }
    for (const std::string_view month : kMonths) {
        if (lower(rest[0]) == month[0] && lower(rest[1]) == month[1] &&
            lower(rest[2]) == month[2]) {
            scanner = Scanner(rest.substr(3));
            return true;
        }
    }
    return false;
}

// "hh:mm:ss" and an optional fraction.
bool takeTime(Scanner& scanner) {
    if (!(scanner.digits(1, 2) && scanner.take(':') && scanner.digits(2, 2) && scanner.take(':') &&
          scanner.digits(2, 2))) {
        return false;
    }
    if (scanner.take('.')) {
        scanner.digits(0, 9);
    }
    return true;
}

// RFC 3164's "Mmm dd hh:mm:ss" (the day space-padded or not), also with a year before the
// time as some routers send it.
bool takeBsdTimestamp(Scanner& scanner) {
    Scanner probe = scanner;
    if (!takeMonth(probe) || !probe.take(' ')) {
        return false;
    }
    probe.take(' ');
    if (!probe.digits(1, 2) || !probe.take(' ')) {
        return false;
    }
    Scanner withYear = probe;
    if (withYear.digits(4, 4) && withYear.take(' ') && takeTime(withYear)) {
        scanner = withYear;
        return true;
    }
    if (!takeTime(probe)) {
        return false;
    }
    scanner = probe;
    return true;
}

// An ISO 8601 time stamp as RFC 3339 writes it ("2026-11-23T10:00:00.123+01:00").
bool takeIsoTimestamp(Scanner& scanner) {
    Scanner probe = scanner;
    if (!(probe.digits(4, 4) && probe.take('-') && probe.digits(2, 2) && probe.take('-') &&
          probe.digits(2, 2) && probe.take('T') && takeTime(probe))) {
        return false;
    }
    if (!probe.take('Z') && (probe.take('+') || probe.take('-'))) {
        if (!(probe.digits(2, 2) && probe.take(':') && probe.digits(2, 2))) {
            return false;
        }
    }
    scanner = probe;
    return true;
}

// A host name after the time stamp, unless the word there is the tag: a tag ends with a colon
// or holds the process id in brackets, and a host is always followed by more text.
void skipBsdHost(Scanner& scanner) {
    Scanner probe = scanner;
    const std::string_view word = probe.word();
    if (word.empty() || word.back() == ':' || word.find('[') != std::string_view::npos ||
        !probe.take(' ')) {
        return;
    }
    scanner = probe;
}

void parseBsd(Scanner scanner, SyslogMessage& message) {
    Scanner probe = scanner;
    if ((takeBsdTimestamp(probe) || takeIsoTimestamp(probe)) && probe.take(' ')) {
        skipBsdHost(probe);
        scanner = probe;
    }
    message.content = scanner.rest();
}

// One structured-data element "[ID PARAM="VALUE" ...]"; inside a value, a backslash escapes
// the next character. False when the element does not end.
bool takeSdElement(Scanner& scanner) {
    const std::string_view rest = scanner.rest();
    bool quoted = false;
    for (std::size_t i = 1; i < rest.size(); ++i) {
        const char c = rest[i];
        if (quoted && c == '\\') {
            ++i;
        } else if (c == '"') {
            quoted = !quoted;
        } else if (!quoted && c == ']') {
            scanner = Scanner(rest.substr(i + 1));
            return true;
        }
    }
    return false;
}

// RFC 5424 after "<PRI>": "1 TIMESTAMP HOST APP PROCID MSGID SD [MSG]". False, with nothing
// set, when the header is not all there.
bool parse5424(Scanner scanner, SyslogMessage& message) {
    if (!scanner.take('1') || !scanner.take(' ')) {
        return false;
    }
    std::array<std::string_view, 5> header; // time stamp, host, app, proc id, message id
    for (std::string_view& field : header) {
        field = scanner.word();
        if (field.empty() || !scanner.take(' ')) {
            return false;
        }
    }
    if (!scanner.take('-')) {
        if (!scanner.peek('[')) {
            return false;
        }
        while (scanner.peek('[')) {
            if (!takeSdElement(scanner)) {
                return false;
            }
        }
    }
    scanner.take(' ');
    std::string_view content = scanner.rest();
    if (content.starts_with(kByteOrderMark)) {
        content.remove_prefix(kByteOrderMark.size());
    }
    message.app = header[2] == "-" ? std::string_view() : header[2];
    message.procId = header[3] == "-" ? std::string_view() : header[3];
    message.content = content;
    return true;
}

} // namespace

SyslogMessage parseSyslogMessage(std::string_view bytes) noexcept {
    SyslogMessage message;
    Scanner scanner(bytes);
    const int priority = takePriority(scanner);
    if (priority < 0) {
        message.content = bytes;
        return message;
    }
    message.priority = priority;
    if (!parse5424(scanner, message)) {
        parseBsd(scanner, message);
    }
    return message;
}

} // namespace velmora
