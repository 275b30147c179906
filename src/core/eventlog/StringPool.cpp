#include "core/eventlog/StringPool.h"

#include <cstring>

namespace velmora {

namespace {

constexpr std::uint64_t kMultiplier = 0x9E3779B97F4A7C15ULL;

std::uint64_t mix(std::uint64_t h, std::uint64_t word) {
    h ^= word;
    h *= kMultiplier;
    return h ^ (h >> 29);
}

} // namespace

std::uint32_t hashText(std::string_view text) {
    std::uint64_t h = text.size() * kMultiplier;
    const char* p = text.data();
    std::size_t n = text.size();
    for (; n >= 8; p += 8, n -= 8) {
        std::uint64_t word = 0;
        std::memcpy(&word, p, 8);
        h = mix(h, word);
    }
    if (n > 0) {
        std::uint64_t word = 0;
        std::memcpy(&word, p, n);
        h = mix(h, word);
    }
    return static_cast<std::uint32_t>(h ^ (h >> 32));
}

StringPool::StringPool()
    : m_slots(64)
    , m_mask(63) {
    m_texts.emplace_back();
}

std::uint32_t StringPool::intern(std::string_view text) {
    const std::uint32_t hash = hashText(text);
    for (std::uint32_t i = hash & m_mask;; i = (i + 1) & m_mask) {
        Slot& slot = m_slots[i];
        if (slot.id == kAbsent) {
            slot = {hash, size()};
            m_texts.emplace_back(text);
            if (size() * 2 > m_slots.size()) {
                grow();
            }
            return size() - 1;
        }
        if (slot.hash == hash && m_texts[slot.id] == text) {
            return slot.id;
        }
    }
}

std::uint32_t StringPool::find(std::string_view text) const {
    const std::uint32_t hash = hashText(text);
    for (std::uint32_t i = hash & m_mask;; i = (i + 1) & m_mask) {
        const Slot& slot = m_slots[i];
        if (slot.id == kAbsent || (slot.hash == hash && m_texts[slot.id] == text)) {
            return slot.id;
        }
    }
}

void StringPool::grow() {
    std::vector<Slot> old = std::move(m_slots);
    m_slots.assign(old.size() * 2, Slot{});
    m_mask = static_cast<std::uint32_t>(m_slots.size() - 1);
    for (const Slot& slot : old) {
        if (slot.id == kAbsent) {
            continue;
        }
        std::uint32_t i = slot.hash & m_mask;
        while (m_slots[i].id != kAbsent) {
            i = (i + 1) & m_mask;
        }
        m_slots[i] = slot;
    }
}

} // namespace velmora
