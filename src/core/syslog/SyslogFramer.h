#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace velmora {

// Cuts a syslog TCP stream into messages, framed as RFC 6587 allows: by octet counting
// ("LENGTH SP MESSAGE", the length without leading zeros) or by a line feed at the end of each
// message. Senders mix them, so each frame is judged on its own: one that starts with a digit
// 1 to 9 and a length is counted, anything else ends at its line feed. A message longer than
// the limit is cut at the limit, and the rest of its frame is skipped: nothing is dropped
// whole, and the stream stays in step.
class SyslogFramer {
public:
    static constexpr std::size_t kDefaultMaxMessageBytes = 64 * 1024;

    explicit SyslogFramer(std::size_t maxMessageBytes = kDefaultMaxMessageBytes);

    // Adds received bytes. Views given out by next() before are no longer valid.
    void append(std::string_view bytes);
    // The next whole message, or nothing until more bytes come.
    std::optional<std::string_view> next();
    // At the end of the stream: the last message when it lacks its line feed or is cut short.
    std::optional<std::string_view> finish();

private:
    std::string_view pending() const;
    std::string_view take(std::size_t messageBytes, std::size_t frameBytes);
    std::optional<std::string_view> nextCounted(std::size_t length, std::size_t headerBytes);
    std::optional<std::string_view> nextLine();
    bool skipping();

    std::size_t m_maxMessageBytes;
    std::string m_buffer;
    std::size_t m_start = 0;      // bytes of m_buffer already given out
    std::size_t m_skipBytes = 0;  // the rest of a counted frame that was cut
    bool m_skipToLineEnd = false; // the rest of a line that was cut
};

} // namespace velmora
