#pragma once

#include <chrono>
#include <deque>
#include <string>

#include <QObject>

#include "core/eventlog/EventStore.h"

namespace velmora {

class EventTableModel;

// The server's "Remove" notifications for the events page, handled in slices of the event loop.
// A removal pass of the server sends hundreds of thousands of them at once, and the bus hands
// them over in one go: matched there and then they would keep the window from painting for as
// long as they take.
//
// Each removal is matched as if at the moment it arrived (removeEvent:): among the events in the
// list then, entered before it, with its date written in the display format of that moment,
// after the removals that arrived before it. Only work that reads the rows (an appearance of
// the page, a deletion, an export) could tell the difference, and it handles every waiting
// removal first (drain()). The first removals wait while the store's index of searches is
// filled, in the same slices; a list of ten million events takes about half a second of them.
class EventRemovals : public QObject {
    Q_OBJECT

public:
    explicit EventRemovals(EventTableModel& model, QObject* parent = nullptr);

    // A removal whose event's date the page shows as `shownDate`.
    void post(const EventFields& record, std::string shownDate);
    // Handles every removal waiting, now.
    void drain();

private:
    using Clock = std::chrono::steady_clock;
    struct Removal {
        std::string date;
        std::string priority;
        std::string host;
        std::string message;
        EventId before;
    };

    EventTableModel& m_model;
    std::deque<Removal> m_waiting;
    bool m_scheduled = false;

    void runSlice();
    // Handles waiting removals until the deadline; returns whether any are left.
    bool handleUntil(Clock::time_point deadline);
    void handle(const Removal& removal);
};

} // namespace velmora
