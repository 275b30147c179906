#include "core/eventlog/EventStore.h"

#include <algorithm>

namespace velmora {

namespace {

// Past this many cached row states the cache starts afresh; the table only ever needs the rows
// on screen.
constexpr std::size_t kMaxCachedStates = std::size_t{1} << 16;

bool fitsCompact(const EventFields& f) {
    const std::size_t date = f.date ? f.date->size() : 0;
    const std::size_t message = f.message ? f.message->size() : 0;
    return date < 0xFFFF && message < 0xFFFF;
}

} // namespace

EventStore::EventStore() {
    // Id 0 of the priority pool is "absent": it classifies as Unknown and counts as nothing.
    m_displaySeverity.push_back(Severity::Unknown);
    m_countedAs.push_back(SeveritySet{Severity::Unknown});
}

void EventStore::reserve(std::size_t events) {
    m_rows.reserve(events);
}

void EventStore::classify(std::uint32_t priority) {
    while (m_displaySeverity.size() <= priority) {
        const std::string_view text =
            m_priorities.text(static_cast<std::uint32_t>(m_displaySeverity.size()));
        m_displaySeverity.push_back(displayedSeverity(text));
        m_countedAs.push_back(countedSeverities(text));
    }
}

EventId EventStore::enter(const Event& e) {
    const std::uint32_t id = m_eventCount;
    if (id % kEventsPerBlock == 0) {
        m_eventBlocks.push_back(std::make_unique_for_overwrite<Event[]>(kEventsPerBlock));
    }
    event(id) = e;
    ++m_eventCount;
    m_rows.push_back(id);
    classify(e.priority);
    m_counters.count(m_countedAs[e.priority]);
    return EventId{id};
}

EventId EventStore::insertLoaded(TextPosition line, std::uint16_t dateLength,
                                 std::uint16_t messageStart, std::uint16_t messageLength,
                                 std::uint32_t priority, std::uint32_t host) {
    return enter({line, dateLength, messageStart, messageLength, 0, priority, host, m_dates.epoch(),
                  kInList});
}

EventStore::Event EventStore::compose(const EventFields& f, std::uint32_t id) {
    Event e{};
    e.priority = f.priority ? m_priorities.intern(*f.priority) : StringPool::kAbsent;
    e.host = f.host ? m_hosts.intern(*f.host) : StringPool::kAbsent;
    e.startEpoch = m_dates.epoch();
    e.endEpoch = kInList;
    if (!fitsCompact(f)) {
        e.flags |= kOversize;
        e.dateLength = e.messageLength = kAbsentLength;
        m_oversize[id] = {f.date ? std::optional<std::string>(*f.date) : std::nullopt,
                          f.message ? std::optional<std::string>(*f.message) : std::nullopt};
        return e;
    }
    const std::string_view date = f.date.value_or(std::string_view());
    e.text = m_arena.append(date, f.message.value_or(std::string_view()));
    e.dateLength = f.date ? static_cast<std::uint16_t>(date.size()) : kAbsentLength;
    e.messageStart = static_cast<std::uint16_t>(date.size());
    e.messageLength = f.message ? static_cast<std::uint16_t>(f.message->size()) : kAbsentLength;
    return e;
}

EventId EventStore::insert(const EventFields& fields, Dictionary extras) {
    Event e = compose(fields, m_eventCount);
    if (!extras.empty()) {
        e.flags |= kHasExtras;
        m_extras[m_eventCount] = std::move(extras);
    }
    return enter(e);
}

EventId EventStore::insertDecorated(const EventFields& fields, Dictionary extras,
                                    std::string_view newDateFormat, const SeverityLevels& levels) {
    m_dates.decorate(newDateFormat, levels);
    const EventId id = insert(fields, std::move(extras));
    event(static_cast<std::uint32_t>(id)).flags |= kDecorated;
    return id;
}

std::optional<std::string_view> EventStore::rawDate(EventId id) const {
    const Event& e = event(static_cast<std::uint32_t>(id));
    if (e.flags & kOversize) {
        const auto& t = m_oversize.at(static_cast<std::uint32_t>(id)).date;
        return t ? std::optional<std::string_view>(*t) : std::nullopt;
    }
    if (e.dateLength == kAbsentLength) {
        return std::nullopt;
    }
    return m_arena.view(e.text, e.dateLength);
}

std::optional<std::string_view> EventStore::message(EventId id) const {
    const Event& e = event(static_cast<std::uint32_t>(id));
    if (e.flags & kOversize) {
        const auto& t = m_oversize.at(static_cast<std::uint32_t>(id)).message;
        return t ? std::optional<std::string_view>(*t) : std::nullopt;
    }
    if (e.messageLength == kAbsentLength) {
        return std::nullopt;
    }
    return m_arena.view({e.text.block, e.text.offset + e.messageStart}, e.messageLength);
}

std::optional<std::string_view> EventStore::priority(EventId id) const {
    const std::uint32_t p = event(static_cast<std::uint32_t>(id)).priority;
    return p == StringPool::kAbsent ? std::nullopt
                                    : std::optional<std::string_view>(m_priorities.text(p));
}

std::optional<std::string_view> EventStore::host(EventId id) const {
    const std::uint32_t h = event(static_cast<std::uint32_t>(id)).host;
    return h == StringPool::kAbsent ? std::nullopt
                                    : std::optional<std::string_view>(m_hosts.text(h));
}

const Dictionary* EventStore::extras(EventId id) const {
    const auto it = m_extras.find(static_cast<std::uint32_t>(id));
    return it == m_extras.end() ? nullptr : &it->second;
}

Severity EventStore::displaySeverity(EventId id) const {
    return m_displaySeverity[event(static_cast<std::uint32_t>(id)).priority];
}

const DateHistory::RowState& EventStore::state(EventId id) const {
    const auto key = static_cast<std::uint32_t>(id);
    const Event& e = event(key);
    auto it = m_stateCache.find(key);
    if (it == m_stateCache.end()) {
        if (m_stateCache.size() >= kMaxCachedStates) {
            m_stateCache.clear();
        }
        it = m_stateCache
                 .emplace(key, m_dates.initialState(rawDate(id), (e.flags & kDecorated) != 0,
                                                    e.startEpoch, displaySeverity(id)))
                 .first;
    }
    m_dates.advance(it->second, displaySeverity(id), e.endEpoch);
    return it->second;
}

std::optional<std::string> EventStore::date(EventId id) const {
    return state(id).date;
}

std::optional<Level> EventStore::image(EventId id) const {
    return state(id).image;
}

void EventStore::appear(std::string_view oldDateFormat, std::string_view newDateFormat,
                        const SeverityLevels& levels) {
    m_dates.appear(oldDateFormat, newDateFormat, levels);
}

void EventStore::removeRows(std::span<const std::size_t> rows) {
    if (rows.empty()) {
        return;
    }
    // Rows count from the top; m_rows holds the oldest first. Mark, then compact once.
    const std::uint32_t now = m_dates.epoch();
    constexpr std::uint32_t kGone = UINT32_MAX;
    for (const std::size_t row : rows) {
        std::uint32_t& slot = m_rows[m_rows.size() - 1 - row];
        event(slot).endEpoch = now;
        slot = kGone;
    }
    std::erase(m_rows, kGone);
}

void EventStore::removeRowRange(std::size_t first, std::size_t count) {
    if (first >= m_rows.size() || count == 0) {
        return;
    }
    count = std::min(count, m_rows.size() - first);
    // Rows count from the top; m_rows holds the oldest first.
    const auto end = m_rows.end() - static_cast<std::ptrdiff_t>(first);
    const auto begin = end - static_cast<std::ptrdiff_t>(count);
    const std::uint32_t now = m_dates.epoch();
    for (auto it = begin; it != end; ++it) {
        event(*it).endEpoch = now;
    }
    m_rows.erase(begin, end);
}

std::optional<std::size_t> EventStore::findFirstMatching(std::string_view displayDate,
                                                         std::string_view priority,
                                                         std::string_view host,
                                                         std::string_view message) const {
    const std::uint32_t p = m_priorities.find(priority);
    const std::uint32_t h = m_hosts.find(host);
    if (p == StringPool::kAbsent || h == StringPool::kAbsent) {
        return std::nullopt;
    }
    for (std::size_t row = 0; row < m_rows.size(); ++row) {
        const std::uint32_t id = m_rows[m_rows.size() - 1 - row];
        const Event& e = event(id);
        if (e.priority != p || e.host != h) {
            continue;
        }
        const auto m = this->message(EventId{id});
        if (!m || *m != message) {
            continue;
        }
        const auto d = date(EventId{id});
        if (d && *d == displayDate) {
            return row;
        }
    }
    return std::nullopt;
}

std::size_t EventStore::memoryBytes() const {
    return m_arena.reservedBytes() + m_eventBlocks.size() * kEventsPerBlock * sizeof(Event) +
           m_rows.capacity() * sizeof(std::uint32_t);
}

} // namespace velmora
