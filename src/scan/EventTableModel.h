#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <QAbstractTableModel>
#include <QElapsedTimer>
#include <QIcon>

#include "core/archive/Value.h"
#include "core/eventlog/EventStore.h"
#include "core/presentation/Severity.h"

namespace velmora {

// The events table over the event list, newest first. It copies no rows: each cell is read from
// the store, and dates are formatted, when a view asks for it, which is for the rows on screen.
//
// A busy server announces thousands of events a second. Each one enters the store at once, but
// the views learn of the new rows once per turn of the event loop, in one insertion at the top;
// while a burst goes on, at most 10 times a second, so that painting does not take the time the
// new events need.
// Until then the model shows the store as it was: it counts the rows not yet announced and
// leaves them out of its row count and its row numbers, so a view never sees a count that
// disagrees with the rows it was told of.
//
// The server's removals come the same way, hundreds of thousands at once when it removes old
// events: each event leaves the list at once, and the rows of all that left meanwhile leave the
// views with the same announcement, in one pass over the list.
class EventTableModel : public QAbstractTableModel {
    Q_OBJECT

public:
    enum Column : int { ImageColumn, DateColumn, PriorityColumn, HostColumn, MessageColumn };
    static constexpr int kColumnCount = 5;

    enum Role : int {
        EventIdRole = Qt::UserRole + 1, // the row's EventId, as quint32
        ImageNameRole,                  // "Normal", "Moderate" or "Severe"; none until shown
    };

    explicit EventTableModel(EventStore& store, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;

    const EventStore& store() const { return m_store; }
    EventStore& store() { return m_store; }
    EventId eventAt(int row) const;
    // The whole text of a cell, UTF-8, as an export writes it (the display role shows the
    // beginning of a very long one); the date worked out in `scratch`, as a pass over many rows
    // does (EventStore::date). Valid until the next call.
    std::string_view cellText(EventId id, int column, DateHistory::RowState& scratch) const;

    // A new event at the top, as received (the events page is not on screen).
    EventId insertRaw(const EventFields& fields, Dictionary extras);
    // A new event at the top, with its date written in `newDateFormat` and its image at once.
    EventId insertDecorated(const EventFields& fields, Dictionary extras,
                            std::string_view newDateFormat, const SeverityLevels& levels);
    // Tells the views of the events entered, and of the rows that left, since the last time.
    void flushChanges();

    // The events page appears: every row's date and image are brought up to date.
    void appear(std::string_view oldDateFormat, std::string_view newDateFormat,
                const SeverityLevels& levels);
    // The event leaves the list now, its row with the next announcement.
    void removeEventSoon(EventId event);
    // Removes rows as the views number them (ascending, no duplicates). A few runs of rows leave
    // one by one; many runs over a long list are cut out in one pass and the views start over,
    // which keeps their column order and scroll position.
    void removeEventRows(std::span<const int> rows);
    // Removes the rows of those of `events` (ascending) that are still in the list.
    void removeEvents(std::span<const EventId> events);
    // Lets `change` fill the store from scratch (the load at start); the views start over.
    void rebuild(const std::function<void(EventStore&)>& change);

private:
    EventStore& m_store;
    std::size_t m_pending = 0;      // rows at the top of the store the views were not told of yet
    std::vector<EventId> m_leaving; // events whose rows the views still show
    bool m_flushQueued = false;
    // When the views were last told, and whether that was of a burst.
    QElapsedTimer m_lastFlush;
    bool m_lastFlushWasBurst = false;
    std::array<QIcon, 3> m_images; // by Level

    void queueFlush();
    void flushInserts();
    void flushRemovals();
    QVariant displayText(EventId id, int column) const;
    // The text of a cell; `date` holds a date text the view points into.
    std::optional<std::string_view> cellView(EventId id, int column,
                                             std::optional<std::string>& date) const;
};

} // namespace velmora
