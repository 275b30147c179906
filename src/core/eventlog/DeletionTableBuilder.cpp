#include "core/eventlog/DeletionTableBuilder.h"

namespace velmora {

DeletionTableBuilder::DeletionTableBuilder(std::string_view displayFormat)
    : m_format(displayFormat) {}

void DeletionTableBuilder::add(const EventStore& store, EventId event) {
    add(store.date(event, m_scratch), store.priority(event), store.host(event),
        store.message(event));
}

DeletionTable& DeletionTableBuilder::table() {
    enterWaiting();
    return m_table;
}

void DeletionTableBuilder::enterWaiting() {
    m_table.addEvents(std::span(m_batch.data(), m_waiting));
    m_waiting = 0;
}

void DeletionTableBuilder::withdraw(const EventStore& store, EventId event) {
    enterWaiting();
    const std::optional<std::string>& date = store.date(event, m_scratch);
    const auto priority = store.priority(event);
    const auto host = store.host(event);
    const auto message = store.message(event);
    if (!date || !priority || !host || !message) {
        return;
    }
    if (const std::optional<double> seconds = secondsOf(*date)) {
        m_table.take(deletionLine(*seconds, *priority, *host, *message));
    }
}

void DeletionTableBuilder::add(const std::optional<std::string>& displayedDate,
                               std::optional<std::string_view> priority,
                               std::optional<std::string_view> host,
                               std::optional<std::string_view> message) {
    if (!displayedDate || !priority || !host || !message) {
        return;
    }
    if (const std::optional<double> seconds = secondsOf(*displayedDate)) {
        m_batch[m_waiting++] = {*seconds, *priority, *host, *message};
        if (m_waiting == m_batch.size()) {
            enterWaiting();
        }
    }
}

std::optional<double> DeletionTableBuilder::secondsOf(std::string_view displayedDate) {
    if (displayedDate != m_lastDate) {
        m_lastDate.assign(displayedDate);
        m_lastSeconds = m_format.parse(displayedDate);
    }
    return m_lastSeconds;
}

} // namespace velmora
