#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

namespace velmora {

class EventStore;

// Diagnostics a user can switch on, for soak runs and for reports of a sluggish window:
// with QT_LOGGING_RULES="velmora.stats.info=true" the console logs, once a second, the number
// of events in its list, the longest time its event loop went without turning in that second,
// and its resident memory. The loop is sampled by a timer of 10 ms: a turn that comes late by
// more than that is a stall the user felt.
class LoopMonitor : public QObject {
    Q_OBJECT

public:
    // Whether the diagnostics are switched on; the monitor costs nothing when they are not,
    // because it is then not created.
    static bool wanted();

    LoopMonitor(const EventStore& store, QObject* parent = nullptr);

private:
    const EventStore& m_store;
    QTimer m_tick;
    QElapsedTimer m_sinceTick;
    QElapsedTimer m_sinceReport;
    qint64 m_longestGapMs = 0;

    void onTick();
    void report();
};

} // namespace velmora
