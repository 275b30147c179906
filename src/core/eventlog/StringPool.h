#pragma once

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
// a slot holds a text of up to 16 bytes itself, and such a text is hashed and compared as two
// words, without a call to compare bytes.
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
    // A text's first and last eight bytes (zero-padded when shorter) and its length: for a
    // text of up to 16 bytes, equal keys mean equal texts.
    struct Key {
        std::uint64_t head = 0;
        std::uint64_t tail = 0;
        std::uint64_t length = 0;
        bool operator==(const Key&) const = default;
    };
    struct Slot {
        Key key;
        std::uint32_t id = kAbsent;
    };
    std::deque<std::string> m_texts; // a deque keeps the texts' addresses stable
    std::vector<Slot> m_slots;       // open addressing, power-of-two size
    std::uint64_t m_mask = 0;

    static Key keyOf(std::string_view text);
    static std::uint64_t hashOf(const Key& key);
    // The slot that holds the text, or the empty slot where it belongs.
    std::size_t slotFor(std::string_view text, const Key& key) const;
    void grow();
};

} // namespace velmora
