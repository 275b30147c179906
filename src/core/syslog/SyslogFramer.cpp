#include "core/syslog/SyslogFramer.h"

#include <algorithm>

namespace velmora {

namespace {

// The digits of the longest length a frame may give: more are no octet count.
constexpr std::size_t kMaxLengthDigits = 10;

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

} // namespace

SyslogFramer::SyslogFramer(std::size_t maxMessageBytes)
    : m_maxMessageBytes(maxMessageBytes) {}

void SyslogFramer::append(std::string_view bytes) {
    if (m_start > 0) {
        m_buffer.erase(0, m_start);
        m_start = 0;
    }
    m_buffer.append(bytes);
}

std::string_view SyslogFramer::pending() const {
    return std::string_view(m_buffer).substr(m_start);
}

std::string_view SyslogFramer::take(std::size_t messageBytes, std::size_t frameBytes) {
    const std::string_view message = pending().substr(0, messageBytes);
    m_start += frameBytes;
    return message;
}

// Skips what is left of a frame that was cut; true while more of it is still to come.
bool SyslogFramer::skipping() {
    if (m_skipBytes > 0) {
        const std::size_t skipped = std::min(m_skipBytes, pending().size());
        m_skipBytes -= skipped;
        m_start += skipped;
        return m_skipBytes > 0;
    }
    if (m_skipToLineEnd) {
        const std::size_t lineFeed = pending().find('\n');
        m_start = lineFeed == std::string_view::npos ? m_buffer.size() : m_start + lineFeed + 1;
        m_skipToLineEnd = lineFeed == std::string_view::npos;
    }
    return m_skipToLineEnd;
}

std::optional<std::string_view> SyslogFramer::next() {
    if (skipping()) {
        return std::nullopt;
    }
    const std::string_view rest = pending();
    if (rest.empty()) {
        return std::nullopt;
    }
    if (rest.front() >= '1' && rest.front() <= '9') {
        std::size_t digits = 1;
        while (digits < rest.size() && digits <= kMaxLengthDigits && isDigit(rest[digits])) {
            ++digits;
        }
        if (digits == rest.size() && digits <= kMaxLengthDigits) {
            return std::nullopt; // the length is not all there yet
        }
        if (digits <= kMaxLengthDigits && rest[digits] == ' ') {
            std::size_t length = 0;
            for (std::size_t i = 0; i < digits; ++i) {
                length = length * 10 + static_cast<std::size_t>(rest[i] - '0');
            }
            return nextCounted(length, digits + 1);
        }
    }
    return nextLine();
}

std::optional<std::string_view> SyslogFramer::nextCounted(std::size_t length,
                                                          std::size_t headerBytes) {
    const std::size_t available = pending().size() - headerBytes;
    const std::size_t kept = std::min(length, m_maxMessageBytes);
    if (available < kept) {
        return std::nullopt;
    }
    m_start += headerBytes;
    m_skipBytes = length - kept;
    const std::string_view message = take(kept, kept);
    skipping();
    return message;
}

std::optional<std::string_view> SyslogFramer::nextLine() {
    const std::string_view rest = pending();
    const std::size_t lineFeed = rest.substr(0, m_maxMessageBytes + 1).find('\n');
    if (lineFeed != std::string_view::npos) {
        return take(lineFeed, lineFeed + 1);
    }
    if (rest.size() <= m_maxMessageBytes) {
        return std::nullopt;
    }
    m_skipToLineEnd = true;
    return take(m_maxMessageBytes, m_maxMessageBytes);
}

std::optional<std::string_view> SyslogFramer::finish() {
    if (skipping() || pending().empty()) {
        return std::nullopt;
    }
    const std::string_view rest = pending();
    m_start = m_buffer.size();
    // A counted frame cut short by the end of the stream keeps what arrived of its message.
    const std::size_t space = rest.find(' ');
    if (isDigit(rest.front()) && rest.front() != '0' && space != std::string_view::npos &&
        space <= kMaxLengthDigits &&
        std::all_of(rest.begin(), rest.begin() + static_cast<std::ptrdiff_t>(space), isDigit)) {
        return rest.substr(space + 1);
    }
    return rest;
}

} // namespace velmora
