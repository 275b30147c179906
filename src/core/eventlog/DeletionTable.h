#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>

#include "core/eventlog/HugeArray.h"
#include "core/system/HugePageAllocator.h"

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
//
// A deletion of all of ten million events enters ten million lines, about as many bytes as the
// log files hold. So an event's line is not copied: the table keeps its second as a number, its
// priority and host as one copy of each distinct text, and its message where the caller keeps
// it (addEvent), 40 bytes a line in all; the line's text is put together only to be hashed and
// compared.
class DeletionTable {
public:
    DeletionTable();
    DeletionTable(DeletionTable&&) noexcept = default;
    DeletionTable& operator=(DeletionTable&&) noexcept = default;

    // Room for this many lines without growing.
    void reserve(std::size_t lines);

    // Lines are entered and taken in batches of up to kBatch: the table's memory for a whole
    // batch is fetched at once, where one line at a time would wait for each in turn.
    static constexpr std::size_t kBatch = 16;

    // The line deletionLine(seconds, priority, host, message) makes for an event.
    struct EventLine {
        double seconds;
        std::string_view priority;
        std::string_view host;
        std::string_view message;
    };

    // Enters the line of one selected event: count "1", or its count raised by one.
    void add(std::string_view line);
    // The same for each of up to kBatch events' lines in turn, without a copy of their messages:
    // they must stay where they are, unchanged, as long as the table is used.
    void addEvents(std::span<const EventLine> events);
    // Sets a line's count text as it stands; a table may be made elsewhere than by add().
    void setCount(std::string_view line, std::string count);

    // When the line is in the table with a count above 0, lowers the count by one and returns
    // true; otherwise changes nothing and returns false. Cheap for a line that is no key.
    bool take(std::string_view line);
    // take() for each of up to kBatch lines in turn; taken[i] tells of lines[i].
    void takeEach(std::span<const std::string_view> lines, std::span<bool> taken);

    std::optional<std::string> count(std::string_view line) const;
    std::size_t size() const { return m_keys.size(); }
    bool empty() const { return m_keys.empty(); }
    // Whether no count is above 0 any more: no line can be taken.
    bool exhausted() const { return m_keysLeft == 0; }

private:
    static constexpr std::uint32_t kWholeLine = UINT32_MAX;
    static constexpr std::uint32_t kNoKey = UINT32_MAX;

    // A line: "<stamp>,<priority>,<host>,<text>\n", or with `priority` kWholeLine the whole line
    // `text`.
    struct Key {
        std::int64_t count;
        std::int64_t stamp;
        const char* text;
        std::uint32_t length;
        std::uint32_t priority; // index into m_fields, or kWholeLine
        std::uint32_t host;     // index into m_fields
    };
    struct Slot {
        std::uint32_t key = kNoKey;
        std::uint32_t tag = 0; // the hash's low bits
    };
    // A priority or host text met recently, by where the caller holds it.
    struct RecentField {
        const char* data = nullptr;
        std::size_t length = 0;
        std::uint32_t id = 0;
    };

    HugeArray<Key> m_keys;
    HugePageVector<Slot> m_slots;     // open addressing, power-of-two size
    int m_shift = 61;                 // a hash's top bits choose its first slot
    std::size_t m_keysLeft = 0;       // keys whose count is above 0
    std::deque<std::string> m_lines;  // the texts of whole-line keys
    std::deque<std::string> m_fields; // distinct priorities and hosts
    std::unordered_map<std::string_view, std::uint32_t> m_fieldIds;
    std::array<RecentField, 1024> m_recentFields{};
    // Count texts set as something else than the decimal text of their value, by key.
    std::unordered_map<std::uint32_t, std::string> m_countTexts;
    std::array<std::string, kBatch> m_batchLines;
    // A bit for the fingerprint of each key (its length, first and last bytes): most lines of a
    // log file are passed over on a look at those, without hashing them.
    static constexpr std::size_t kFilterBits = std::size_t{1} << 16;
    std::array<std::uint64_t, kFilterBits / 64> m_filter{};

    static bool isText(std::string_view line);
    static std::size_t fingerprint(std::string_view line);
    static std::uint64_t hashOf(std::string_view line);
    // The key's line, into `out`.
    void writeLine(const Key& key, std::string& out) const;
    bool keyIs(const Key& key, std::string_view line) const;
    // The slot of the key whose line this is, or the empty slot where it belongs.
    std::size_t slotOf(std::string_view line, std::uint64_t hash) const;
    std::optional<std::uint32_t> find(std::string_view line) const;
    void prefetchSlot(std::uint64_t hash) const;
    bool takeHashed(std::string_view line, std::uint64_t hash);
    void raise(std::uint32_t index);
    // Enters a line new to the table at its empty slot, with the count.
    void insert(std::size_t slot, std::uint64_t hash, std::string_view line, Key key);
    void rehash(std::size_t slots);
    std::uint32_t fieldId(std::string_view text);
    void setCountValue(Key& key, std::int64_t count);
};

// The line the server writes for an event: the time stamp in whole seconds (rounded to the
// nearest, as "%.0f" writes it), the priority, the host and the message, joined by commas, and a
// line feed.
std::string deletionLine(double seconds, std::string_view priority, std::string_view host,
                         std::string_view message);

} // namespace velmora
