#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

namespace velmora {

// Interns the few distinct priority and host texts of millions of events: each distinct text is
// stored once and events hold its 32-bit id. Id 0 stands for "no text" (a notification without
// the field), which differs from the empty text.
//
// Loading a gigabyte of logs interns two texts per line, so the table is made for short texts:
// a slot holds a text of up to 32 bytes itself (every priority the server writes, every
// address), and such a text is hashed and compared as four words, without a call to compare
// bytes.
class StringPool {
public:
    static constexpr std::uint32_t kAbsent = 0;

    StringPool();

    std::uint32_t intern(std::string_view text);
    // The id of a text already interned, kAbsent otherwise.
    std::uint32_t find(std::string_view text) const;
    std::string_view text(std::uint32_t id) const { return m_texts[id]; }
    // Ids run from 1 to size() - 1.
    std::uint32_t size() const { return static_cast<std::uint32_t>(m_texts.size()); }

private:
    // Four words of a text and its length: its first eight bytes, the eight from byte 8 and
    // from byte 16 (or its last eight when it ends sooner) and its last eight; zero-padded
    // when it is shorter than eight. For a text of up to 32 bytes, equal keys mean equal texts.
    struct Key {
        std::array<std::uint64_t, 4> words{};
        std::uint64_t length = 0;
        // Word by word: a comparison of the whole array would call memcmp.
        bool operator==(const Key& other) const {
            return length == other.length && words[0] == other.words[0] &&
                   words[1] == other.words[1] && words[2] == other.words[2] &&
                   words[3] == other.words[3];
        }
    };
    struct Slot {
        std::uint64_t hash = 0; // compared before the key
        std::uint32_t id = kAbsent;
        Key key;
    };
    std::deque<std::string> m_texts; // a deque keeps the texts' addresses stable
    std::vector<Slot> m_slots;       // open addressing, power-of-two size
    std::uint64_t m_mask = 0;
    int m_shift = 58; // a hash's top bits choose its first slot: 64 - log2(slots)

    static Key keyOf(std::string_view text);
    static std::uint64_t hashOf(const Key& key);
    // The slot that holds the text, or the empty slot where it belongs.
    std::size_t slotFor(std::string_view text, const Key& key, std::uint64_t hash) const;
    // Out of line: texts of more than 32 bytes are rare, and the probe loop stays small.
    bool sameLongText(std::uint32_t id, std::string_view text) const;
    void grow();
};

} // namespace velmora
