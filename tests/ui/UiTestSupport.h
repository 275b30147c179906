#pragma once

#include <string_view>

#include <QAbstractItemModel>
#include <QCoreApplication>
#include <QString>
#include <QVariant>

#include "core/eventlog/EventStore.h"

namespace velmora::test {

// An event as the server announces it: its date is a time stamp.
inline EventFields record(std::string_view date, std::string_view priority,
                          std::string_view host = "10.0.0.1", std::string_view message = "hello") {
    return {date, priority, host, message};
}

inline QVariant cell(const QAbstractItemModel& model, int row, int column,
                     int role = Qt::DisplayRole) {
    return model.index(row, column).data(role);
}

// Runs what the event loop has queued, such as the table's announcement of new rows, and what
// that queues in turn (a removal is matched, then its row leaves with the next announcement).
inline void runQueued() {
    for (int turn = 0; turn < 3; ++turn) {
        QCoreApplication::processEvents();
    }
}

} // namespace velmora::test
