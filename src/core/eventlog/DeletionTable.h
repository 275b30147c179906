#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace velmora {

// The log lines a deletion cuts out of the log files, each with the number of copies of it still
// to go.
//
// A key is the exact text of a line as the server writes it, line feed included (see
// deletionLine). A count is decimal text: "1" when the line is first entered, one more for each
// further selected event that gives the same line, one less for each copy cut out of a file. One
// table serves all the files of a deletion, so a line that stands in several files is cut only as
// often as it was selected, from the files met first.
//
// Keys are text: a line that is not valid UTF-8 or holds a NUL byte is never entered, so no such
// line of a log file is ever cut out.
class DeletionTable {
public:
    // Enters the line of one selected event: count "1", or its count raised by one.
    void add(std::string_view line);
    // Sets a line's count text as it stands; a table may be made elsewhere than by add().
    void setCount(std::string_view line, std::string count);

    // When the line is in the table with a count above 0, lowers the count by one and returns
    // true; otherwise changes nothing and returns false. Cheap for a line that is no key.
    bool take(std::string_view line);

    std::optional<std::string_view> count(std::string_view line) const;
    std::size_t size() const { return m_counts.size(); }
    bool empty() const { return m_counts.empty(); }
    // Whether no count is above 0 any more: no line can be taken.
    bool exhausted() const { return m_keysLeft == 0; }

private:
    struct Hash {
        using is_transparent = void;
        std::size_t operator()(std::string_view text) const noexcept {
            return std::hash<std::string_view>{}(text);
        }
    };
    std::unordered_map<std::string, std::string, Hash, std::equal_to<>> m_counts;
    std::size_t m_keysLeft = 0; // keys whose count is above 0
    // A bit for the fingerprint of each key (its length, first and last bytes): most lines of a
    // log file are passed over on a look at those, without hashing them.
    static constexpr std::size_t kFilterBits = std::size_t{1} << 16;
    std::array<std::uint64_t, kFilterBits / 64> m_filter{};

    static bool isText(std::string_view line);
    static std::size_t fingerprint(std::string_view line);
    void store(std::string_view line, std::string count);
};

// The line the server writes for an event: the time stamp in whole seconds (rounded to the
// nearest, as "%.0f" writes it), the priority, the host and the message, joined by commas, and a
// line feed.
std::string deletionLine(double seconds, std::string_view priority, std::string_view host,
                         std::string_view message);

} // namespace velmora
