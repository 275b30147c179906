#include "scan/EventTableModel.h"

#include <algorithm>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <QTimer>

#include "app/Logging.h"
#include "core/eventlog/Utf8.h"

namespace velmora {

namespace {

// A cell shows no more than a wide screen holds: laying out a text of megabytes each time the
// row is painted would stall the window. The whole text stays in the list.
constexpr std::size_t kMaxCellBytes = 4096;

QString toQString(std::optional<std::string_view> text) {
    if (!text) {
        return {};
    }
    const std::string_view shown = utf8Prefix(*text, kMaxCellBytes);
    return QString::fromUtf8(shown.data(), static_cast<qsizetype>(shown.size()));
}

std::size_t levelIndex(Level level) {
    return static_cast<std::size_t>(level);
}

// A burst: so many new rows in one turn of the event loop.
constexpr std::size_t kBurstRows = 32;
constexpr qint64 kBurstFlushIntervalMs = 100;
// From this length on, making room at the top of a view's row records takes noticeable time.
constexpr std::size_t kLongList = 100'000;

} // namespace

EventTableModel::EventTableModel(EventStore& store, QObject* parent)
    : QAbstractTableModel(parent)
    , m_store(store) {
    m_images[levelIndex(Level::Normal)] = QIcon(QStringLiteral(":/icons/normal.svg"));
    m_images[levelIndex(Level::Moderate)] = QIcon(QStringLiteral(":/icons/moderate.svg"));
    m_images[levelIndex(Level::Severe)] = QIcon(QStringLiteral(":/icons/severe.svg"));
}

int EventTableModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(m_store.size() - m_pending);
}

int EventTableModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : kColumnCount;
}

EventId EventTableModel::eventAt(int row) const {
    return m_store.at(static_cast<std::size_t>(row) + m_pending);
}

QVariant EventTableModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= rowCount()) {
        return {};
    }
    const EventId id = eventAt(index.row());
    switch (role) {
    case Qt::DisplayRole:
        return displayText(id, index.column());
    case Qt::DecorationRole:
        if (index.column() == ImageColumn) {
            if (const std::optional<Level> level = m_store.image(id)) {
                return m_images[levelIndex(*level)];
            }
        }
        return {};
    case EventIdRole:
        return QVariant::fromValue(static_cast<quint32>(id));
    case ImageNameRole:
        if (const std::optional<Level> level = m_store.image(id)) {
            return toQString(std::optional<std::string_view>(levelImageName(*level)));
        }
        return {};
    default:
        return {};
    }
}

std::optional<std::string_view> EventTableModel::cellView(EventId id, int column,
                                                          std::optional<std::string>& date) const {
    switch (column) {
    case DateColumn:
        date = m_store.date(id);
        return date ? std::optional<std::string_view>(*date) : std::nullopt;
    case PriorityColumn:
        return m_store.priority(id);
    case HostColumn:
        return m_store.host(id);
    case MessageColumn:
        return m_store.message(id);
    default:
        return std::nullopt;
    }
}

std::string_view EventTableModel::cellText(EventId id, int column,
                                           DateHistory::RowState& scratch) const {
    if (column == DateColumn) {
        const std::optional<std::string>& date = m_store.date(id, scratch);
        return date ? std::string_view(*date) : std::string_view();
    }
    std::optional<std::string> unused;
    return cellView(id, column, unused).value_or(std::string_view());
}

QVariant EventTableModel::displayText(EventId id, int column) const {
    if (column == ImageColumn) {
        return {};
    }
    std::optional<std::string> date;
    return toQString(cellView(id, column, date));
}

QVariant EventTableModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole) {
        return {};
    }
    switch (section) {
    case ImageColumn:
        return QString();
    case DateColumn:
        return tr("Date");
    case PriorityColumn:
        return tr("Priority");
    case HostColumn:
        return tr("Host");
    case MessageColumn:
        return tr("Message");
    default:
        return {};
    }
}

EventId EventTableModel::insertRaw(const EventFields& fields, Dictionary extras) {
    const EventId id = m_store.insert(fields, std::move(extras));
    ++m_pending;
    queueFlush();
    return id;
}

EventId EventTableModel::insertDecorated(const EventFields& fields, Dictionary extras,
                                         std::string_view newDateFormat,
                                         const SeverityLevels& levels) {
    const EventId id = m_store.insertDecorated(fields, std::move(extras), newDateFormat, levels);
    ++m_pending;
    queueFlush();
    return id;
}

void EventTableModel::queueFlush() {
    if (m_flushQueued) {
        return;
    }
    m_flushQueued = true;
    const qint64 since = m_lastFlush.isValid() ? m_lastFlush.elapsed() : kBurstFlushIntervalMs;
    if (m_lastFlushWasBurst && since < kBurstFlushIntervalMs) {
        QTimer::singleShot(kBurstFlushIntervalMs - since, this, &EventTableModel::flushChanges);
    } else {
        QMetaObject::invokeMethod(this, &EventTableModel::flushChanges, Qt::QueuedConnection);
    }
}

void EventTableModel::flushChanges() {
    m_flushQueued = false;
    if (m_pending == 0 && m_leaving.empty()) {
        return;
    }
    m_lastFlushWasBurst = m_pending + m_leaving.size() >= kBurstRows;
    m_lastFlush.start();
    flushInserts();
    flushRemovals();
}

void EventTableModel::flushInserts() {
    if (m_pending == 0) {
        return;
    }
    qCDebug(lcScan) << "announcing" << m_pending << "new events";
    beginInsertRows({}, 0, static_cast<int>(m_pending) - 1);
    m_pending = 0;
    endInsertRows();
}

void EventTableModel::flushRemovals() {
    if (m_leaving.empty()) {
        return;
    }
    qCDebug(lcScan) << "removing the rows of" << m_leaving.size() << "events that left";
    std::sort(m_leaving.begin(), m_leaving.end());
    std::vector<EventId> leaving;
    leaving.swap(m_leaving);
    removeEvents(leaving);
}

void EventTableModel::removeEventSoon(EventId event) {
    if (!m_store.inList(event)) {
        return;
    }
    m_store.retire(event);
    m_leaving.push_back(event);
    queueFlush();
}

void EventTableModel::appear(std::string_view oldDateFormat, std::string_view newDateFormat,
                             const SeverityLevels& levels) {
    flushChanges();
    m_store.appear(oldDateFormat, newDateFormat, levels);
    // The store rewrites dates and images lazily: one signal covers every row, and the views
    // ask again only for the rows they show.
    if (const int rows = rowCount(); rows > 0) {
        emit dataChanged(index(0, 0), index(rows - 1, kColumnCount - 1),
                         {Qt::DisplayRole, Qt::DecorationRole, ImageNameRole});
    }
}

void EventTableModel::removeEventRows(std::span<const int> rows) {
    struct Run {
        int first;
        int last;
    };
    std::vector<Run> runs;
    std::size_t moves = 0; // rows above the runs, which the store moves to close each gap
    for (const int row : rows) {
        if (runs.empty() || row != runs.back().last + 1) {
            runs.push_back({row, row});
            moves += static_cast<std::size_t>(row) + m_pending;
        } else {
            runs.back().last = row;
        }
    }
    if (runs.empty()) {
        return;
    }
    // Runs leave one by one while that moves fewer rows than one pass over the whole list.
    if (moves <= m_store.size() || runs.size() == 1) {
        for (auto run = runs.rbegin(); run != runs.rend(); ++run) {
            beginRemoveRows({}, run->first, run->last);
            m_store.removeRowRange(static_cast<std::size_t>(run->first) + m_pending,
                                   static_cast<std::size_t>(run->last - run->first + 1));
            endRemoveRows();
        }
        return;
    }
    qCDebug(lcScan) << "removing" << rows.size() << "rows in" << runs.size() << "runs at once";
    std::vector<std::size_t> indexes;
    indexes.reserve(rows.size());
    for (const int row : rows) {
        indexes.push_back(static_cast<std::size_t>(row) + m_pending);
    }
    beginResetModel();
    m_store.removeRows(indexes);
    endResetModel();
}

void EventTableModel::removeEvents(std::span<const EventId> events) {
    flushInserts();
    const std::vector<std::size_t> found = m_store.rowsOf(events);
    std::vector<int> rows(found.size());
    std::transform(found.begin(), found.end(), rows.begin(),
                   [](std::size_t row) { return static_cast<int>(row); });
    removeEventRows(rows);
}

void EventTableModel::rebuild(const std::function<void(EventStore&)>& change) {
    beginResetModel();
    m_leaving.clear();
    change(m_store);
    // A view keeps a record per row, and the first insertion at the top of a long list copies
    // all of them into a larger array with room at the top: with millions of rows the first
    // live event would stall the window. Announcing the newest row as such an insertion makes
    // that room now, as part of the load.
    m_pending = m_store.size() >= kLongList ? 1 : 0;
    endResetModel();
    flushInserts();
}

} // namespace velmora
