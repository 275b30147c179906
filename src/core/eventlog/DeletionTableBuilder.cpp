#include "core/eventlog/DeletionTableBuilder.h"

namespace velmora {

DeletionTableBuilder::DeletionTableBuilder(std::string_view displayFormat)
    : m_format(displayFormat) {}

void DeletionTableBuilder::add(const EventStore& store, EventId event) {
    add(store.date(event), store.priority(event), store.host(event), store.message(event));
}

void DeletionTableBuilder::withdraw(const EventStore& store, EventId event) {
    if (const std::optional<std::string> line = lineOf(store.date(event), store.priority(event),
                                                       store.host(event), store.message(event))) {
        m_table.take(*line);
    }
}

void DeletionTableBuilder::add(const std::optional<std::string>& displayedDate,
                               std::optional<std::string_view> priority,
                               std::optional<std::string_view> host,
                               std::optional<std::string_view> message) {
    if (const std::optional<std::string> line = lineOf(displayedDate, priority, host, message)) {
        m_table.add(*line);
    }
}

std::optional<std::string> DeletionTableBuilder::lineOf(
    const std::optional<std::string>& displayedDate, std::optional<std::string_view> priority,
    std::optional<std::string_view> host, std::optional<std::string_view> message) {
    if (!displayedDate || !priority || !host || !message) {
        return std::nullopt;
    }
    if (m_lastDate != displayedDate) {
        m_lastDate = displayedDate;
        m_lastSeconds = m_format.parse(*displayedDate);
    }
    if (!m_lastSeconds) {
        return std::nullopt;
    }
    return deletionLine(*m_lastSeconds, *priority, *host, *message);
}

} // namespace velmora
