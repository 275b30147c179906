#include "server/EventQueue.h"

#include <algorithm>
#include <iterator>

namespace velmora::server {

EventQueue::EventQueue(std::size_t capacity)
    : m_capacity(capacity) {}

std::size_t EventQueue::tryPush(std::vector<LogEvent>& events) {
    std::size_t accepted = 0;
    {
        const std::scoped_lock guard(m_lock);
        if (!m_closed) {
            accepted = std::min(events.size(), m_capacity - std::min(m_capacity, m_events.size()));
            std::move(events.begin(), events.begin() + static_cast<std::ptrdiff_t>(accepted),
                      std::back_inserter(m_events));
        }
    }
    const std::size_t dropped = events.size() - accepted;
    events.clear();
    if (accepted > 0) {
        m_hasEvents.notify_one();
    }
    return dropped;
}

bool EventQueue::push(std::vector<LogEvent>& events) {
    std::unique_lock guard(m_lock);
    std::size_t next = 0;
    while (next < events.size()) {
        m_hasRoom.wait(guard, [this] { return m_closed || m_events.size() < m_capacity; });
        if (m_closed) {
            return false;
        }
        const std::size_t fit = std::min(events.size() - next, m_capacity - m_events.size());
        const auto from = events.begin() + static_cast<std::ptrdiff_t>(next);
        std::move(from, from + static_cast<std::ptrdiff_t>(fit), std::back_inserter(m_events));
        next += fit;
        m_hasEvents.notify_one();
    }
    events.clear();
    return true;
}

bool EventQueue::takeAll(std::vector<LogEvent>& out, std::chrono::milliseconds timeout) {
    out.clear();
    std::unique_lock guard(m_lock);
    m_hasEvents.wait_for(guard, timeout, [this] { return m_closed || !m_events.empty(); });
    out.swap(m_events);
    const bool open = !m_closed || !out.empty();
    guard.unlock();
    m_hasRoom.notify_all();
    return open;
}

void EventQueue::close() {
    {
        const std::scoped_lock guard(m_lock);
        m_closed = true;
    }
    m_hasEvents.notify_all();
    m_hasRoom.notify_all();
}

bool EventQueue::closed() {
    const std::scoped_lock guard(m_lock);
    return m_closed;
}

} // namespace velmora::server
