#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "core/archive/Value.h"
#include "core/eventlog/DateHistory.h"
#include "core/eventlog/EventMatchIndex.h"
#include "core/eventlog/HugeArray.h"
#include "core/eventlog/SeverityCounters.h"
#include "core/eventlog/StringPool.h"
#include "core/eventlog/TextArena.h"
#include "core/presentation/Severity.h"

namespace velmora {

// Identifies one event for as long as the store lives, also after it left the list (the popup
// queue may still show it). Ids are given in insertion order.
enum class EventId : std::uint32_t {};

// The texts of an event entering the list; a field a notification lacked is nullopt, which is
// not the same as an empty text.
struct EventFields {
    std::optional<std::string_view> date;
    std::optional<std::string_view> priority;
    std::optional<std::string_view> host;
    std::optional<std::string_view> message;
};

// The console's event list: every event read from the log files or announced by the server,
// newest first (row 0 is the top of the events table), with the nine severity counters.
//
// It is built for ten million events: an event's date and message are copied one after the
// other into a text arena, its priority and host are interned, its record costs 24 bytes and
// its row 4, and inserting at the top is an append (rows are kept oldest first). Records and
// rows live in page memory that grows without copying. Dates and images are not written into
// the events: DateHistory works them out on demand.
class EventStore {
public:
    EventStore();
    EventStore(const EventStore&) = delete;
    EventStore& operator=(const EventStore&) = delete;

    // --- entering events (each one is counted: every severity word its priority holds) ---

    // At the top of the list, as received: the events page is not on screen.
    EventId insert(const EventFields& fields, Dictionary extras = {});
    // At the top, decorated at once: the events page is on screen and writes the date (read as
    // a time stamp) in `newDateFormat` and the image of the severity at `levels`.
    EventId insertDecorated(const EventFields& fields, Dictionary extras,
                            std::string_view newDateFormat, const SeverityLevels& levels);

    // For the loader: a line's four fields, its priority and host already interned in
    // priorities() and hosts(). The date and message are a piece's (under 1024 bytes).
    EventId insertLine(std::string_view date, std::uint32_t priority, std::uint32_t host,
                       std::string_view message);
    StringPool& priorities() { return m_priorities; }
    StringPool& hosts() { return m_hosts; }

    // --- the list ---

    std::size_t size() const { return m_rows.size(); }
    bool empty() const { return m_rows.empty(); }
    EventId at(std::size_t row) const { return EventId{m_rows[m_rows.size() - 1 - row]}; }
    // Whether the event is in the list: entered and not removed since.
    bool inList(EventId id) const;
    // The id the next event to enter will get.
    EventId nextId() const { return EventId{static_cast<std::uint32_t>(m_events.size())}; }
    // The events in the list that entered before `before`, oldest first, in ascending order of
    // their ids: rows keep the order in which their events entered, so a row's id grows from the
    // bottom to the top.
    std::vector<EventId> eventsInList(EventId before) const;
    // The rows (from the top, ascending) of those of `ids` (ascending) that are in the list.
    std::vector<std::size_t> rowsOf(std::span<const EventId> ids) const;

    std::optional<std::string_view> rawDate(EventId id) const; // as received
    std::optional<std::string_view> priority(EventId id) const;
    std::optional<std::string_view> host(EventId id) const;
    std::optional<std::string_view> message(EventId id) const;
    // The keys of a notification beyond Date, Priority, Host and Message; nullptr when none.
    const Dictionary* extras(EventId id) const;
    Severity displaySeverity(EventId id) const;

    // The date as the events page last wrote it: the received text until the page first shows
    // the event, then display text; nullopt once a rewrite could not parse it.
    std::optional<std::string> date(EventId id) const;
    // The same for passes over millions of rows (an export, a deletion, velmoractl): worked out
    // afresh in `scratch`, whose text serves row after row, leaving the cache of rows on screen
    // alone. Valid until scratch is used again.
    const std::optional<std::string>& date(EventId id, DateHistory::RowState& scratch) const;
    // The severity image the page last gave the event; nullopt until it has shown it.
    std::optional<Level> image(EventId id) const;

    // --- the events page ---

    // The page appears: every row's date and image are brought up to date (on demand).
    void appear(std::string_view oldDateFormat, std::string_view newDateFormat,
                const SeverityLevels& levels);
    const DateHistory& dates() const { return m_dates; }

    // Removes rows (indexes from the top, in any order; an index out of range or given twice
    // is passed over). The counters are left as they are. Removed events keep their texts and
    // their last date and image. One pass over the rows above the lowest removed one.
    void removeRows(std::span<const std::size_t> rows);
    // Removes `count` rows from row `first` down. It moves only the rows above them, so a run
    // near the top of a long list costs little; removeRows compacts the whole list once.
    void removeRowRange(std::size_t first, std::size_t count);
    // Takes the event out of the list at once but leaves its row in place, for removeRows() to
    // take away with others in one pass: a burst of the server's removals would otherwise move
    // millions of rows for each one. Such a row is no longer inList() nor found.
    void retire(EventId id);

    // The first row from the top whose event is in the list and entered before `before`, whose
    // date text equals `displayDate` and whose priority, host and message equal the record's,
    // all exactly. A field that is absent on either side never matches.
    //
    // The events in the index of searches (prepareMatching) are found through it; the rows of
    // the others, the newest, are compared one by one.
    std::optional<std::size_t> findFirstMatching(std::string_view displayDate,
                                                 std::string_view priority, std::string_view host,
                                                 std::string_view message,
                                                 EventId before = EventId{UINT32_MAX}) const;
    // Puts up to `events` more events into the index of searches, an index of the events by a
    // hash of their priority, host and message, filled from the oldest on (some tens of
    // nanoseconds an event) and kept up with new events once it has caught up with them; it
    // costs 8 bytes an event, so it is only made once searches are wanted. Returns whether
    // every event is in it.
    bool prepareMatching(std::size_t events);

    SeverityCounters& counters() { return m_counters; }
    const SeverityCounters& counters() const { return m_counters; }

    // Bytes of the records and rows in use, of the text blocks and of the index of searches,
    // for the memory figures.
    std::size_t memoryBytes() const;

private:
    static constexpr std::uint16_t kAbsentLength = 0xFFFF;
    static constexpr std::uint32_t kInList = UINT32_MAX;
    static constexpr std::uint32_t kRemoved = UINT32_MAX; // a row slot being removed

    enum Flags : std::uint8_t {
        kDecorated = 1, // decorated at insertion
        kOversize = 2,  // date or message too long for the compact form: in m_oversize
        kHasExtras = 4,
    };

    // The date, then the message right after it, in the arena.
    struct Event {
        TextPosition text;
        std::uint32_t priority = StringPool::kAbsent; // StringPool ids; kAbsent: no text
        std::uint32_t host = StringPool::kAbsent;
        std::uint16_t dateLength = kAbsentLength;    // kAbsentLength: no date
        std::uint16_t messageLength = kAbsentLength; // kAbsentLength: no message
        std::uint8_t flags = 0;
    };

    struct LongTexts {
        std::optional<std::string> date;
        std::optional<std::string> message;
    };

    // The epoch from which events are rewritten by the date history: it only ever rises, so
    // the events entered since one change share one entry here (first event id, epoch).
    struct EpochStart {
        std::uint32_t firstEvent;
        std::uint32_t epoch;
    };

    HugeArray<Event> m_events;       // by id
    HugeArray<std::uint32_t> m_rows; // event ids, oldest first

    TextArena m_arena;
    StringPool m_priorities;
    StringPool m_hosts;
    // Per priority id: its display severity and the severities it counts as.
    std::vector<Severity> m_displaySeverity;
    std::vector<SeveritySet> m_countedAs;

    std::unordered_map<std::uint32_t, LongTexts> m_oversize;
    std::unordered_map<std::uint32_t, Dictionary> m_extras;

    SeverityCounters m_counters;
    DateHistory m_dates;
    std::vector<EpochStart> m_epochStarts;
    // Per event id, the epoch at which it left the list (kInList while in it); kept only from
    // the first removal on.
    std::vector<std::uint32_t> m_endEpochs;
    // Rows looked at recently, so that painting the table does not replay history again.
    mutable std::unordered_map<std::uint32_t, DateHistory::RowState> m_stateCache;
    EventMatchIndex m_matchIndex;

    EventId enter(const Event& e);
    Event compose(const EventFields& fields, std::uint32_t id);
    void classify(std::uint32_t priority);
    std::uint32_t startEpoch(std::uint32_t id) const;
    std::uint32_t endEpoch(std::uint32_t id) const;
    const DateHistory::RowState& state(EventId id) const;
    std::uint64_t matchHash(const Event& e, std::uint32_t id) const;
    static std::uint64_t matchHash(std::uint32_t priority, std::uint32_t host,
                                   std::optional<std::string_view> message);
    bool matches(std::uint32_t id, std::uint32_t priority, std::uint32_t host,
                 std::string_view message, std::string_view displayDate) const;
    std::size_t rowOf(std::uint32_t id) const;
    void endAt(std::uint32_t id, std::uint32_t epoch);
};

} // namespace velmora
