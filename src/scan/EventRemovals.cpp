#include "scan/EventRemovals.h"

#include <QTimer>

#include "scan/EventTableModel.h"

namespace velmora {

namespace {

// A slice's share of the event loop.
constexpr std::chrono::milliseconds kSlice{20};
// Events put into the index of searches between two looks at the clock.
constexpr std::size_t kIndexStep = std::size_t{1} << 15;

} // namespace

EventRemovals::EventRemovals(EventTableModel& model, QObject* parent)
    : QObject(parent)
    , m_model(model) {}

void EventRemovals::post(const EventFields& record, std::string shownDate) {
    m_waiting.push_back({std::move(shownDate), std::string(*record.priority),
                         std::string(*record.host), std::string(*record.message),
                         m_model.store().nextId()});
    if (!m_scheduled) {
        m_scheduled = true;
        QTimer::singleShot(0, this, &EventRemovals::runSlice);
    }
}

void EventRemovals::drain() {
    handleUntil(Clock::time_point::max());
}

void EventRemovals::runSlice() {
    m_scheduled = handleUntil(Clock::now() + kSlice);
    if (m_scheduled) {
        QTimer::singleShot(0, this, &EventRemovals::runSlice);
    }
}

bool EventRemovals::handleUntil(Clock::time_point deadline) {
    EventStore& store = m_model.store();
    while (!m_waiting.empty()) {
        if (Clock::now() >= deadline) {
            return true;
        }
        if (!store.prepareMatching(kIndexStep)) {
            continue;
        }
        handle(m_waiting.front());
        m_waiting.pop_front();
    }
    return false;
}

void EventRemovals::handle(const Removal& removal) {
    const EventStore& store = m_model.store();
    if (const std::optional<std::size_t> row = store.findFirstMatching(
            removal.date, removal.priority, removal.host, removal.message, removal.before)) {
        m_model.removeEventSoon(store.at(*row));
    }
}

} // namespace velmora
