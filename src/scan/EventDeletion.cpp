#include "scan/EventDeletion.h"

#include <utility>

#include "app/Logging.h"
#include "scan/EventTableModel.h"

namespace velmora {

namespace {

// Rows between two looks at the clock.
constexpr std::size_t kRowsPerCheck = 256;

} // namespace

EventDeletion::EventDeletion(QWidget* page, EventTableModel& model, std::vector<EventId> events,
                             std::string_view displayFormat, std::string dataDirectory,
                             std::chrono::milliseconds progressDelay)
    : PageTask(page, tr("Deleting events..."), progressDelay)
    , m_model(model)
    , m_store(model.store())
    , m_events(std::move(events))
    , m_builder(displayFormat)
    , m_dataDirectory(std::move(dataDirectory)) {
    m_builder.reserve(m_events.size());
}

EventDeletion::~EventDeletion() {
    if (m_rewrite.valid()) {
        m_rewrite.wait();
    }
}

PageTask::Step EventDeletion::step(Clock::time_point deadline) {
    if (!m_rewrite.valid()) {
        if (!buildTable(deadline)) {
            setProgress(m_next, m_events.size());
            return Step::More;
        }
        removeFromList();
        startRewrite();
    }
    if (m_rewrite.wait_until(deadline) != std::future_status::ready) {
        setProgress(m_bytesDone.load(), m_bytesTotal.load());
        return Step::More;
    }
    m_report = m_rewrite.get();
    for (const Severity severity : kAllSeverities) {
        m_store.counters()[severity] -= m_report.deleted[severity];
    }
    for (const Error& problem : m_report.problems) {
        qCInfo(lcScan) << "deletion:" << problem.message.c_str();
    }
    return Step::Done;
}

bool EventDeletion::cancel() {
    return !m_rewrite.valid();
}

bool EventDeletion::buildTable(Clock::time_point deadline) {
    while (m_next < m_events.size()) {
        m_builder.add(m_store, m_events[m_next]);
        ++m_next;
        if (m_next % kRowsPerCheck == 0 && Clock::now() >= deadline) {
            return m_next == m_events.size();
        }
    }
    return true;
}

void EventDeletion::removeFromList() {
    // An event the server has removed since it was chosen is no longer there to delete: the
    // server has cut its line already, and a line of the table would cut another one like it.
    for (const EventId event : m_events) {
        if (!m_store.inList(event)) {
            m_builder.withdraw(m_store, event);
        }
    }
    m_model.removeEvents(m_events);
    setCancellable(false);
    emit rowsRemoved();
}

void EventDeletion::startRewrite() {
    m_rewrite =
        std::async(std::launch::async, [this, table = std::move(m_builder.table())]() mutable {
            return LogRewriter(m_dataDirectory)
                .rewrite(table, [this](std::uint64_t done, std::uint64_t total) {
                    m_bytesDone.store(done);
                    m_bytesTotal.store(total);
                });
        });
}

} // namespace velmora
