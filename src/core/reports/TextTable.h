#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "core/eventlog/TextArena.h"
#include "core/system/HugePageAllocator.h"

namespace velmora {

// The texts of a report, numbered 0, 1, 2, ... in the order they enter, their bytes one after
// another in large blocks: ten million texts cost their bytes and twelve bytes each, not a
// heap string each. Texts are interned (stored once, found by hash in constant time).
//
// A text may also enter deferred: not copied, only a reference its owner can read it back by
// (a line in a log file). A report by message has nearly as many keys as lines; most are never
// compared or shown, and copying them all would cost more than reading the files. A deferred
// text is read back, and copied in for good, when a text with the same hash is interned or
// looked for, or when it is asked for.
class TextTable {
public:
    // Reads a deferred text back; nullopt when it cannot (the file changed meanwhile).
    using Resolver = std::function<std::optional<std::string>(std::uint32_t reference)>;

    TextTable();
    TextTable(const TextTable&) = delete;
    TextTable& operator=(const TextTable&) = delete;

    void setResolver(Resolver resolver) { m_resolver = std::move(resolver); }

    // The id of the equal text interned before, or a new id.
    std::uint32_t intern(std::string_view text) { return intern(text, hash(text)); }
    // Interning in steps, so that many lookups are under way at once when the table is too big
    // for the processor's caches: hash a text and start fetching its slot, and intern it a few
    // texts later.
    static std::uint32_t hash(std::string_view text);
    void prefetch(std::uint32_t hash) const;
    std::uint32_t intern(std::string_view text, std::uint32_t hash);
    // As intern(), but a new text enters deferred, as `reference`.
    std::uint32_t internDeferred(std::string_view text, std::uint32_t hash,
                                 std::uint32_t reference);
    // Room for this many texts without growing.
    void reserve(std::size_t texts);

    std::optional<std::uint32_t> find(std::string_view text) const;
    // A deferred text that cannot be read back is empty.
    std::string_view text(std::uint32_t id) const;
    // The reference a text is still deferred to; nullopt once it is held as text.
    std::optional<std::uint32_t> deferredReference(std::uint32_t id) const;
    std::uint32_t size() const { return static_cast<std::uint32_t>(m_entries.size()); }

    // Bytes held, for the memory figures.
    std::size_t memoryBytes() const;

private:
    static constexpr std::uint32_t kEmptySlot = UINT32_MAX;
    static constexpr std::uint32_t kDeferred = UINT32_MAX; // in Entry::at.block

    struct Entry {
        TextPosition at; // or {kDeferred, reference}
        std::uint32_t length = 0;
    };
    struct Slot {
        std::uint32_t hash = 0;
        std::uint32_t id = kEmptySlot;
    };

    // Deferred texts are copied in when read back, from const lookups too.
    mutable TextArena m_arena;
    mutable HugePageVector<Entry> m_entries;
    HugePageVector<Slot> m_slots; // open addressing, power-of-two size
    std::uint32_t m_mask = 0;
    Resolver m_resolver;

    template <typename NewEntry>
    std::uint32_t insert(std::string_view text, std::uint32_t hash, NewEntry&& newEntry);
    std::optional<std::uint32_t> lookup(std::string_view text, std::uint32_t hash) const;
    bool holds(std::uint32_t id, std::string_view text) const;
    void resizeSlots(std::size_t slots);
};

} // namespace velmora
