#include "core/eventlog/DeletionTableBuilder.h"

namespace velmora {

DeletionTableBuilder::DeletionTableBuilder(std::string_view displayFormat)
    : m_format(displayFormat) {}

void DeletionTableBuilder::add(const EventStore& store, EventId event) {
    add(store.date(event), store.priority(event), store.host(event), store.message(event));
}

void DeletionTableBuilder::add(const std::optional<std::string>& displayedDate,
                               std::optional<std::string_view> priority,
                               std::optional<std::string_view> host,
                               std::optional<std::string_view> message) {
    if (!displayedDate || !priority || !host || !message) {
        return;
    }
    if (m_lastDate != displayedDate) {
        m_lastDate = displayedDate;
        m_lastSeconds = m_format.parse(*displayedDate);
    }
    if (m_lastSeconds) {
        m_table.add(deletionLine(*m_lastSeconds, *priority, *host, *message));
    }
}

} // namespace velmora
