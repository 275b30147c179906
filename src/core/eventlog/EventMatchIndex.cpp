#include "core/eventlog/EventMatchIndex.h"

#include <algorithm>
#include <bit>

namespace velmora {

void EventMatchIndex::start(std::size_t events) {
    const std::size_t buckets = std::bit_ceil(std::max<std::size_t>(events / 2, 1024));
    m_heads.assign(buckets, kNone);
    m_shift = 64 - std::countr_zero(buckets);
    m_older = HugeArray<std::uint32_t>();
    m_older.reserve(events);
}

void EventMatchIndex::add(std::uint64_t hash) {
    std::uint32_t& head = m_heads[bucket(hash)];
    const std::uint32_t event = end();
    m_older.push_back(head);
    head = event;
}

std::size_t EventMatchIndex::memoryBytes() const {
    return m_heads.capacity() * sizeof(std::uint32_t) + m_older.usedBytes();
}

} // namespace velmora
