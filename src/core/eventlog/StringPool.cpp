#include "core/eventlog/StringPool.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace velmora {

namespace {

constexpr std::uint64_t kMultiplier = 0x9E3779B97F4A7C15ULL;
constexpr std::uint64_t kSecondMultiplier = 0xC2B2AE3D27D4EB4FULL;
constexpr std::size_t kInlineBytes = 32;

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

inline StringPool::Key StringPool::keyOf(std::string_view text) {
    const std::size_t n = text.size();
    Key key;
    key.length = n;
    if (n >= 8) {
        const char* p = text.data();
        key.words = {load(p, 8), load(p + std::min<std::size_t>(8, n - 8), 8),
                     load(p + std::min<std::size_t>(16, n - 8), 8), load(p + n - 8, 8)};
    } else if (n > 0) {
        key.words[0] = load(text.data(), n);
    }
    return key;
}

// Two independent products, so that the processor computes them side by side; the top bits
// of the result depend on every bit of the key and choose the slot.
inline std::uint64_t StringPool::hashOf(const Key& key) {
    const auto& w = key.words;
    const std::uint64_t a = (w[0] ^ std::rotl(w[1], 29) ^ key.length) * kMultiplier;
    const std::uint64_t b = (w[2] ^ std::rotl(w[3], 41)) * kSecondMultiplier;
    return (a ^ std::rotl(b, 32)) * kMultiplier;
}

inline std::size_t StringPool::slotFor(std::string_view text, const Key& key,
                                       std::uint64_t hash) const {
    for (std::size_t i = hash >> m_shift;; i = (i + 1) & m_mask) {
        const Slot& slot = m_slots[i];
        if (slot.id == kAbsent) {
            return i;
        }
        if (slot.hash == hash && slot.key == key &&
            (text.size() <= kInlineBytes || sameLongText(slot.id, text))) {
            return i;
        }
    }
}

bool StringPool::sameLongText(std::uint32_t id, std::string_view text) const {
    return m_texts[id] == text;
}

std::uint32_t StringPool::intern(std::string_view text) {
    const Key key = keyOf(text);
    const std::uint64_t hash = hashOf(key);
    Slot& slot = m_slots[slotFor(text, key, hash)];
    if (slot.id != kAbsent) {
        return slot.id;
    }
    slot = {hash, size(), key};
    m_texts.emplace_back(text);
    if (m_texts.size() * 2 > m_slots.size()) {
        grow();
    }
    return size() - 1;
}

std::uint32_t StringPool::find(std::string_view text) const {
    const Key key = keyOf(text);
    return m_slots[slotFor(text, key, hashOf(key))].id;
}

void StringPool::grow() {
    std::vector<Slot> old = std::move(m_slots);
    m_slots.assign(old.size() * 2, Slot{});
    m_mask = m_slots.size() - 1;
    --m_shift;
    for (const Slot& slot : old) {
        if (slot.id == kAbsent) {
            continue;
        }
        std::size_t i = slot.hash >> m_shift;
        while (m_slots[i].id != kAbsent) {
            i = (i + 1) & m_mask;
        }
        m_slots[i] = slot;
    }
}

} // namespace velmora
