#pragma once

#include <cstddef>
#include <cstdint>

#include "core/eventlog/HugeArray.h"
#include "core/system/HugePageAllocator.h"

namespace velmora {

// The events of the list by a hash of their priority, host and message, so that a "Remove" finds
// the events with its texts without walking ten million rows. The events are numbered by their
// ids; those from 0 to end() are in the index. Each bucket chains its events newest first, which
// is the order of the rows from the top; the caller compares an event's texts itself, as events
// of other texts share buckets.
//
// The index is filled from the oldest event on, a step at a time (see EventStore), and keeps up
// with new events once it has caught up with them. Events that left the list stay in it.
class EventMatchIndex {
public:
    static constexpr std::uint32_t kNone = UINT32_MAX;

    // Whether it was started.
    bool started() const { return !m_heads.empty(); }
    // Starts afresh, with buckets for about this many events, two to a bucket.
    void start(std::size_t events);
    // The events [0, end()) are in the index.
    std::uint32_t end() const { return static_cast<std::uint32_t>(m_older.size()); }
    // Whether the index has grown past what its buckets were sized for: it is then better
    // started afresh, larger.
    bool crowded() const { return m_older.size() > 4 * m_heads.size(); }

    // Starts fetching the bucket of a hash, for an add() a few events later: filling the index
    // is a write to a random bucket an event, which waits for memory unless fetched ahead.
    void prefetch(std::uint64_t hash) const { __builtin_prefetch(&m_heads[bucket(hash)], 1); }
    // Enters the event end() with the hash of its texts.
    void add(std::uint64_t hash);

    // The newest event of the bucket of this hash, then each older one; kNone ends the chain.
    std::uint32_t newest(std::uint64_t hash) const { return m_heads[bucket(hash)]; }
    std::uint32_t older(std::uint32_t event) const { return m_older[event]; }

    // Bytes held, for the memory figures.
    std::size_t memoryBytes() const;

private:
    HugePageVector<std::uint32_t> m_heads; // power-of-two size
    HugeArray<std::uint32_t> m_older;      // by event id
    int m_shift = 64;

    std::size_t bucket(std::uint64_t hash) const {
        return static_cast<std::size_t>(hash >> m_shift);
    }
};

} // namespace velmora
