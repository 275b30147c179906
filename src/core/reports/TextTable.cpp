#include "core/reports/TextTable.h"

#include <cstring>

namespace velmora {

namespace {

constexpr std::size_t kFirstSlots = 64;
constexpr std::uint64_t kMultiplier = 0x9E3779B97F4A7C15ULL;

std::uint64_t mix(std::uint64_t h, std::uint64_t word) {
    h ^= word;
    h *= kMultiplier;
    return h ^ (h >> 29);
}

std::uint64_t load(const char* p) {
    std::uint64_t word = 0;
    std::memcpy(&word, p, sizeof word);
    return word;
}

// The last n (< 8) bytes of a text, from p on, as a word: read with one load that ends with the
// text when the text is long enough, which is faster than a copy of a few bytes.
std::uint64_t tailWord(std::string_view text, const char* p, std::size_t n) {
    if (text.size() >= 8) {
        return load(text.data() + text.size() - 8) >> (8 * (8 - n));
    }
    std::uint64_t word = 0;
    for (std::size_t i = 0; i < n; ++i) {
        word |= static_cast<std::uint64_t>(static_cast<unsigned char>(p[i])) << (8 * i);
    }
    return word;
}

} // namespace

TextTable::TextTable() = default;

std::uint32_t TextTable::hash(std::string_view text) {
    // Four independent lanes of eight bytes, kept in registers: a line of a hundred and fifty
    // bytes is hashed in a few multiplications' latency rather than twenty in a row.
    std::uint64_t a = text.size() * kMultiplier;
    std::uint64_t b = 1;
    std::uint64_t c = 2;
    std::uint64_t d = 3;
    const char* p = text.data();
    std::size_t n = text.size();
    for (; n >= 32; p += 32, n -= 32) {
        a = mix(a, load(p));
        b = mix(b, load(p + 8));
        c = mix(c, load(p + 16));
        d = mix(d, load(p + 24));
    }
    if (n >= 16) {
        a = mix(a, load(p));
        b = mix(b, load(p + 8));
        p += 16;
        n -= 16;
    }
    if (n >= 8) {
        c = mix(c, load(p));
        p += 8;
        n -= 8;
    }
    if (n > 0) {
        d = mix(d, tailWord(text, p, n));
    }
    const std::uint64_t h = mix(mix(mix(a, b), c), d);
    return static_cast<std::uint32_t>(h ^ (h >> 32));
}

void TextTable::prefetch(std::uint32_t hash) const {
    if (!m_slots.empty()) {
        __builtin_prefetch(&m_slots[hash & m_mask]);
    }
}

void TextTable::reserve(std::size_t texts) {
    m_entries.reserve(texts);
    std::size_t slots = kFirstSlots;
    while (slots < texts * 2) {
        slots *= 2;
    }
    if (slots > m_slots.size()) {
        resizeSlots(slots);
    }
}

std::uint32_t TextTable::intern(std::string_view text, std::uint32_t hash) {
    return insert(text, hash, [&] {
        return Entry{m_arena.append(text), static_cast<std::uint32_t>(text.size())};
    });
}

std::uint32_t TextTable::internDeferred(std::string_view text, std::uint32_t hash,
                                        std::uint32_t reference) {
    return insert(text, hash, [&] { return Entry{{kDeferred, reference}, 0}; });
}

template <typename NewEntry>
std::uint32_t TextTable::insert(std::string_view text, std::uint32_t hash, NewEntry&& newEntry) {
    if (m_slots.empty()) {
        resizeSlots(kFirstSlots);
    }
    for (std::uint32_t i = hash & m_mask;; i = (i + 1) & m_mask) {
        Slot& slot = m_slots[i];
        if (slot.id == kEmptySlot) {
            const std::uint32_t id = size();
            m_entries.push_back(newEntry());
            slot = {hash, id};
            if (std::size_t{size()} * 2 > m_slots.size()) {
                resizeSlots(m_slots.size() * 2);
            }
            return id;
        }
        if (slot.hash == hash && holds(slot.id, text)) {
            return slot.id;
        }
    }
}

std::optional<std::uint32_t> TextTable::find(std::string_view text) const {
    return lookup(text, hash(text));
}

std::optional<std::uint32_t> TextTable::lookup(std::string_view text, std::uint32_t hash) const {
    if (m_slots.empty()) {
        return std::nullopt;
    }
    for (std::uint32_t i = hash & m_mask;; i = (i + 1) & m_mask) {
        const Slot& slot = m_slots[i];
        if (slot.id == kEmptySlot) {
            return std::nullopt;
        }
        if (slot.hash == hash && holds(slot.id, text)) {
            return slot.id;
        }
    }
}

bool TextTable::holds(std::uint32_t id, std::string_view text) const {
    const Entry& e = m_entries[id];
    if (e.at.block != kDeferred) {
        return e.length == text.size() && m_arena.view(e.at, e.length) == text;
    }
    return this->text(id) == text;
}

std::optional<std::uint32_t> TextTable::deferredReference(std::uint32_t id) const {
    const Entry& e = m_entries[id];
    return e.at.block == kDeferred ? std::optional<std::uint32_t>(e.at.offset) : std::nullopt;
}

std::string_view TextTable::text(std::uint32_t id) const {
    Entry& e = m_entries[id];
    if (e.at.block == kDeferred) {
        const std::optional<std::string> resolved =
            m_resolver ? m_resolver(e.at.offset) : std::nullopt;
        if (!resolved) {
            return {};
        }
        e = {m_arena.append(*resolved), static_cast<std::uint32_t>(resolved->size())};
    }
    return m_arena.view(e.at, e.length);
}

void TextTable::resizeSlots(std::size_t slots) {
    HugePageVector<Slot> old = std::move(m_slots);
    m_slots.assign(slots, Slot{});
    m_mask = static_cast<std::uint32_t>(slots - 1);
    for (const Slot& slot : old) {
        if (slot.id == kEmptySlot) {
            continue;
        }
        std::uint32_t i = slot.hash & m_mask;
        while (m_slots[i].id != kEmptySlot) {
            i = (i + 1) & m_mask;
        }
        m_slots[i] = slot;
    }
}

std::size_t TextTable::memoryBytes() const {
    return m_arena.reservedBytes() + m_entries.capacity() * sizeof(Entry) +
           m_slots.capacity() * sizeof(Slot);
}

} // namespace velmora
