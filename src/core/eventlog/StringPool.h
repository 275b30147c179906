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
    struct Slot {
        std::uint32_t hash = 0;
        std::uint32_t id = kAbsent;
    };
    std::deque<std::string> m_texts; // a deque keeps the texts' addresses stable
    std::vector<Slot> m_slots;       // open addressing, power-of-two size
    std::uint32_t m_mask = 0;

    void grow();
};

// A fast hash for short texts.
std::uint32_t hashText(std::string_view text);

} // namespace velmora
