#include "core/eventlog/StringPool.h"

#include <algorithm>
#include <cstring>

namespace velmora {

namespace {

constexpr std::uint64_t kMultiplier = 0x9E3779B97F4A7C15ULL;
constexpr std::size_t kInlineBytes = 16;

std::uint64_t load(const char* p, std::size_t n) {
    std::uint64_t word = 0;
    std::memcpy(&word, p, n);
    return word;
}

} // namespace

StringPool::StringPool()
    : m_slots(64)
    , m_mask(63) {
    m_texts.emplace_back();
}

StringPool::Key StringPool::keyOf(std::string_view text) {
    const std::size_t n = text.size();
    Key key;
    key.length = n;
    if (n >= 8) {
        key.head = load(text.data(), 8);
        key.tail = load(text.data() + n - 8, 8);
    } else if (n > 0) {
        key.head = load(text.data(), n);
    }
    return key;
}

std::uint64_t StringPool::hashOf(const Key& key) {
    std::uint64_t h = (key.head ^ key.length) * kMultiplier;
    h = (h ^ (h >> 29) ^ key.tail) * kMultiplier;
    return h ^ (h >> 32);
}

std::size_t StringPool::slotFor(std::string_view text, const Key& key) const {
    for (std::size_t i = hashOf(key) & m_mask;; i = (i + 1) & m_mask) {
        const Slot& slot = m_slots[i];
        if (slot.id == kAbsent ||
            (slot.key == key && (text.size() <= kInlineBytes || m_texts[slot.id] == text))) {
            return i;
        }
    }
}

std::uint32_t StringPool::intern(std::string_view text) {
    const Key key = keyOf(text);
    Slot& slot = m_slots[slotFor(text, key)];
    if (slot.id != kAbsent) {
        return slot.id;
    }
    slot = {key, size()};
    m_texts.emplace_back(text);
    if (m_texts.size() * 2 > m_slots.size()) {
        grow();
    }
    return size() - 1;
}

std::uint32_t StringPool::find(std::string_view text) const {
    return m_slots[slotFor(text, keyOf(text))].id;
}

void StringPool::grow() {
    std::vector<Slot> old = std::move(m_slots);
    m_slots.assign(old.size() * 2, Slot{});
    m_mask = m_slots.size() - 1;
    for (const Slot& slot : old) {
        if (slot.id == kAbsent) {
            continue;
        }
        std::size_t i = hashOf(slot.key) & m_mask;
        while (m_slots[i].id != kAbsent) {
            i = (i + 1) & m_mask;
        }
        m_slots[i] = slot;
    }
}

} // namespace velmora
