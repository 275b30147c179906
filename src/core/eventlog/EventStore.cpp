#include "core/eventlog/EventStore.h"

#include <algorithm>
#include <array>

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

void EventStore::classify(std::uint32_t priority) {
    while (m_displaySeverity.size() <= priority) {
        const std::string_view text =
            m_priorities.text(static_cast<std::uint32_t>(m_displaySeverity.size()));
        m_displaySeverity.push_back(displayedSeverity(text));
        m_countedAs.push_back(countedSeverities(text));
    }
}

EventId EventStore::enter(const Event& e) {
    const auto id = static_cast<std::uint32_t>(m_events.size());
    m_events.push_back(e);
    m_rows.push_back(id);
    if (m_epochStarts.empty() || m_epochStarts.back().epoch != m_dates.epoch()) {
        m_epochStarts.push_back({id, m_dates.epoch()});
    }
    if (!m_endEpochs.empty()) {
        m_endEpochs.push_back(kInList);
    }
    classify(e.priority);
    m_counters.count(m_countedAs[e.priority]);
    // Once the index of searches has caught up with the list, it keeps up with new events.
    if (m_matchIndex.started() && m_matchIndex.end() == id) {
        m_matchIndex.add(matchHash(e, id));
    }
    return EventId{id};
}

EventId EventStore::insertLine(std::string_view date, std::uint32_t priority, std::uint32_t host,
                               std::string_view message) {
    return enter({m_arena.append(date, message), priority, host,
                  static_cast<std::uint16_t>(date.size()),
                  static_cast<std::uint16_t>(message.size()), 0});
}

EventStore::Event EventStore::compose(const EventFields& f, std::uint32_t id) {
    Event e{};
    e.priority = f.priority ? m_priorities.intern(*f.priority) : StringPool::kAbsent;
    e.host = f.host ? m_hosts.intern(*f.host) : StringPool::kAbsent;
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
    e.messageLength = f.message ? static_cast<std::uint16_t>(f.message->size()) : kAbsentLength;
    return e;
}

EventId EventStore::insert(const EventFields& fields, Dictionary extras) {
    const auto id = static_cast<std::uint32_t>(m_events.size());
    Event e = compose(fields, id);
    if (!extras.empty()) {
        e.flags |= kHasExtras;
        m_extras[id] = std::move(extras);
    }
    return enter(e);
}

EventId EventStore::insertDecorated(const EventFields& fields, Dictionary extras,
                                    std::string_view newDateFormat, const SeverityLevels& levels) {
    m_dates.decorate(newDateFormat, levels);
    const EventId id = insert(fields, std::move(extras));
    m_events[static_cast<std::uint32_t>(id)].flags |= kDecorated;
    return id;
}

std::optional<std::string_view> EventStore::rawDate(EventId id) const {
    const Event& e = m_events[static_cast<std::uint32_t>(id)];
    if ((e.flags & kOversize) != 0) {
        const auto& t = m_oversize.at(static_cast<std::uint32_t>(id)).date;
        return t ? std::optional<std::string_view>(*t) : std::nullopt;
    }
    if (e.dateLength == kAbsentLength) {
        return std::nullopt;
    }
    return m_arena.view(e.text, e.dateLength);
}

std::optional<std::string_view> EventStore::message(EventId id) const {
    const Event& e = m_events[static_cast<std::uint32_t>(id)];
    if ((e.flags & kOversize) != 0) {
        const auto& t = m_oversize.at(static_cast<std::uint32_t>(id)).message;
        return t ? std::optional<std::string_view>(*t) : std::nullopt;
    }
    if (e.messageLength == kAbsentLength) {
        return std::nullopt;
    }
    const std::uint32_t dateBytes = e.dateLength == kAbsentLength ? 0 : e.dateLength;
    return m_arena.view({e.text.block, e.text.offset + dateBytes}, e.messageLength);
}

std::optional<std::string_view> EventStore::priority(EventId id) const {
    const std::uint32_t p = m_events[static_cast<std::uint32_t>(id)].priority;
    return p == StringPool::kAbsent ? std::nullopt
                                    : std::optional<std::string_view>(m_priorities.text(p));
}

std::optional<std::string_view> EventStore::host(EventId id) const {
    const std::uint32_t h = m_events[static_cast<std::uint32_t>(id)].host;
    return h == StringPool::kAbsent ? std::nullopt
                                    : std::optional<std::string_view>(m_hosts.text(h));
}

const Dictionary* EventStore::extras(EventId id) const {
    const auto it = m_extras.find(static_cast<std::uint32_t>(id));
    return it == m_extras.end() ? nullptr : &it->second;
}

Severity EventStore::displaySeverity(EventId id) const {
    return m_displaySeverity[m_events[static_cast<std::uint32_t>(id)].priority];
}

std::uint32_t EventStore::startEpoch(std::uint32_t id) const {
    const auto after = std::upper_bound(
        m_epochStarts.begin(), m_epochStarts.end(), id,
        [](std::uint32_t event, const EpochStart& start) { return event < start.firstEvent; });
    return std::prev(after)->epoch;
}

std::uint32_t EventStore::endEpoch(std::uint32_t id) const {
    return m_endEpochs.empty() ? kInList : m_endEpochs[id];
}

const DateHistory::RowState& EventStore::state(EventId id) const {
    const auto key = static_cast<std::uint32_t>(id);
    auto it = m_stateCache.find(key);
    if (it == m_stateCache.end()) {
        if (m_stateCache.size() >= kMaxCachedStates) {
            m_stateCache.clear();
        }
        const bool decorated = (m_events[key].flags & kDecorated) != 0;
        it = m_stateCache
                 .emplace(key, m_dates.initialState(rawDate(id), decorated, startEpoch(key),
                                                    displaySeverity(id)))
                 .first;
    }
    m_dates.advance(it->second, displaySeverity(id), endEpoch(key));
    return it->second;
}

std::optional<std::string> EventStore::date(EventId id) const {
    return state(id).date;
}

const std::optional<std::string>& EventStore::date(EventId id,
                                                   DateHistory::RowState& scratch) const {
    const auto key = static_cast<std::uint32_t>(id);
    const Severity severity = displaySeverity(id);
    m_dates.resetState(scratch, rawDate(id), (m_events[key].flags & kDecorated) != 0,
                       startEpoch(key), severity);
    m_dates.advance(scratch, severity, endEpoch(key));
    return scratch.date;
}

std::optional<Level> EventStore::image(EventId id) const {
    return state(id).image;
}

void EventStore::appear(std::string_view oldDateFormat, std::string_view newDateFormat,
                        const SeverityLevels& levels) {
    m_dates.appear(oldDateFormat, newDateFormat, levels);
}

bool EventStore::inList(EventId id) const {
    const auto key = static_cast<std::uint32_t>(id);
    return key < m_events.size() && endEpoch(key) == kInList;
}

std::vector<EventId> EventStore::eventsInList(EventId before) const {
    const std::uint32_t* const end =
        std::lower_bound(m_rows.begin(), m_rows.end(), static_cast<std::uint32_t>(before));
    std::vector<EventId> events(static_cast<std::size_t>(end - m_rows.begin()));
    std::transform(m_rows.begin(), end, events.begin(),
                   [](std::uint32_t id) { return EventId{id}; });
    return events;
}

std::vector<std::size_t> EventStore::rowsOf(std::span<const EventId> ids) const {
    std::vector<std::size_t> rows;
    // m_rows ascends: each id is looked for from where the last one was found, in steps that
    // double, so that a few ids cost a few searches and all of them one pass.
    const std::uint32_t* from = m_rows.begin();
    const std::uint32_t* const end = m_rows.end();
    for (const EventId event : ids) {
        const auto id = static_cast<std::uint32_t>(event);
        std::size_t step = 1;
        const std::uint32_t* bound = from;
        while (bound != end && *bound < id) {
            from = bound + 1;
            bound = static_cast<std::size_t>(end - from) > step ? from + step : end;
            step *= 2;
        }
        from = std::lower_bound(from, bound, id);
        if (from != end && *from == id) {
            rows.push_back(m_rows.size() - 1 - static_cast<std::size_t>(from - m_rows.begin()));
        }
    }
    std::reverse(rows.begin(), rows.end());
    return rows;
}

void EventStore::endAt(std::uint32_t id, std::uint32_t epoch) {
    if (m_endEpochs.empty()) {
        m_endEpochs.assign(m_events.size(), kInList);
    }
    // A retired event keeps the epoch it left the list at.
    if (m_endEpochs[id] == kInList) {
        m_endEpochs[id] = epoch;
    }
}

void EventStore::retire(EventId id) {
    if (inList(id)) {
        endAt(static_cast<std::uint32_t>(id), m_dates.epoch());
    }
}

void EventStore::removeRows(std::span<const std::size_t> rows) {
    // Rows count from the top; m_rows holds the oldest first. Mark, then close the gaps in one
    // pass over the part of m_rows from the lowest marked slot on: removing rows near the top,
    // where new events arrive, moves only the few rows above them.
    const std::uint32_t now = m_dates.epoch();
    std::size_t firstGap = m_rows.size();
    for (const std::size_t row : rows) {
        if (row >= m_rows.size()) {
            continue;
        }
        const std::size_t slot = m_rows.size() - 1 - row;
        if (m_rows[slot] == kRemoved) {
            continue;
        }
        endAt(m_rows[slot], now);
        m_rows[slot] = kRemoved;
        firstGap = std::min(firstGap, slot);
    }
    if (firstGap == m_rows.size()) {
        return;
    }
    auto* const kept = std::remove(m_rows.begin() + firstGap, m_rows.end(), kRemoved);
    m_rows.truncate(static_cast<std::size_t>(kept - m_rows.begin()));
}

void EventStore::removeRowRange(std::size_t first, std::size_t count) {
    if (first >= m_rows.size() || count == 0) {
        return;
    }
    count = std::min(count, m_rows.size() - first);
    // Rows count from the top; m_rows holds the oldest first.
    std::uint32_t* const end = m_rows.end() - first;
    std::uint32_t* const begin = end - count;
    const std::uint32_t now = m_dates.epoch();
    for (const std::uint32_t* it = begin; it != end; ++it) {
        endAt(*it, now);
    }
    std::move(end, m_rows.end(), begin);
    m_rows.truncate(m_rows.size() - count);
}

std::uint64_t EventStore::matchHash(std::uint32_t priority, std::uint32_t host,
                                    std::optional<std::string_view> message) {
    std::uint64_t hash = message ? std::hash<std::string_view>{}(*message) : 0x5BD1E995;
    hash += priority * 0x9E3779B97F4A7C15 + host * 0xC2B2AE3D27D4EB4F;
    // The index takes a bucket from the top bits: every input bit must reach them.
    hash ^= hash >> 29;
    hash *= 0xBF58476D1CE4E5B9;
    return hash ^ (hash >> 32);
}

std::uint64_t EventStore::matchHash(const Event& e, std::uint32_t id) const {
    return matchHash(e.priority, e.host, message(EventId{id}));
}

bool EventStore::prepareMatching(std::size_t events) {
    if (!m_matchIndex.started() || m_matchIndex.crowded()) {
        m_matchIndex.start(m_events.size());
    }
    const auto stop = static_cast<std::uint32_t>(
        std::min<std::size_t>(m_events.size(), m_matchIndex.end() + events));
    // Hashes a batch ahead and fetches their buckets, then enters them.
    constexpr std::uint32_t kAhead = 16;
    std::array<std::uint64_t, kAhead> hashes{};
    for (std::uint32_t first = m_matchIndex.end(); first < stop; first += kAhead) {
        const std::uint32_t count = std::min(kAhead, stop - first);
        for (std::uint32_t i = 0; i < count; ++i) {
            hashes[i] = matchHash(m_events[first + i], first + i);
            m_matchIndex.prefetch(hashes[i]);
        }
        for (std::uint32_t i = 0; i < count; ++i) {
            m_matchIndex.add(hashes[i]);
        }
    }
    return m_matchIndex.end() == m_events.size();
}

bool EventStore::matches(std::uint32_t id, std::uint32_t priority, std::uint32_t host,
                         std::string_view message, std::string_view displayDate) const {
    // Cheap fields first; the date only of rows that match the rest.
    const Event& e = m_events[id];
    if (e.priority != priority || e.host != host || endEpoch(id) != kInList) {
        return false;
    }
    const auto m = this->message(EventId{id});
    if (!m || *m != message) {
        return false;
    }
    const auto d = date(EventId{id});
    return d && *d == displayDate;
}

std::size_t EventStore::rowOf(std::uint32_t id) const {
    const std::uint32_t* const slot = std::lower_bound(m_rows.begin(), m_rows.end(), id);
    return m_rows.size() - 1 - static_cast<std::size_t>(slot - m_rows.begin());
}

std::optional<std::size_t> EventStore::findFirstMatching(std::string_view displayDate,
                                                         std::string_view priority,
                                                         std::string_view host,
                                                         std::string_view message,
                                                         EventId before) const {
    const std::uint32_t p = m_priorities.find(priority);
    const std::uint32_t h = m_hosts.find(host);
    if (p == StringPool::kAbsent || h == StringPool::kAbsent) {
        return std::nullopt;
    }
    const auto bound = static_cast<std::uint32_t>(before);
    const std::uint32_t indexed = m_matchIndex.started() ? m_matchIndex.end() : 0;
    // The rows of events not in the index, the newest, one by one from the top.
    for (std::size_t row = 0; row < m_rows.size(); ++row) {
        const std::uint32_t id = m_rows[m_rows.size() - 1 - row];
        if (id < indexed) {
            break;
        }
        if (id < bound && matches(id, p, h, message, displayDate)) {
            return row;
        }
    }
    if (indexed == 0) {
        return std::nullopt;
    }
    // The rest through the index, its chain newest first as the rows are from the top.
    for (std::uint32_t id = m_matchIndex.newest(matchHash(p, h, message));
         id != EventMatchIndex::kNone; id = m_matchIndex.older(id)) {
        if (id < bound && matches(id, p, h, message, displayDate)) {
            return rowOf(id);
        }
    }
    return std::nullopt;
}

std::size_t EventStore::memoryBytes() const {
    return m_arena.reservedBytes() + m_events.usedBytes() + m_rows.usedBytes() +
           m_endEpochs.capacity() * sizeof(std::uint32_t) + m_matchIndex.memoryBytes();
}

} // namespace velmora
