#include "server/EventIntake.h"

namespace velmora::server {

void EventIntake::take(std::string_view bytes, const Sender& sender, std::int64_t now,
                       std::vector<LogEvent>& batch) {
    // Empty frames and stray line ends between frames are no messages.
    if (bytes.find_first_not_of("\r\n", 0) == std::string_view::npos) {
        return;
    }
    m_statistics.received.fetch_add(1, std::memory_order_relaxed);
    std::optional<std::string> name;
    if (m_settings->hostsDisplay) {
        name = m_resolver.cachedName(sender.text);
    }
    LogEvent event = makeLogEvent(now, parseSyslogMessage(bytes), name ? *name : sender.text);
    if (!m_settings->filters.empty() &&
        !m_settings->filters.keeps({sender.address, event.priority, event.message})) {
        m_statistics.filteredOut.fetch_add(1, std::memory_order_relaxed);
        return;
    }
    batch.push_back(std::move(event));
}

} // namespace velmora::server
