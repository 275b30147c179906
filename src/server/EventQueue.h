#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <vector>

#include "core/syslog/LogEvent.h"

namespace velmora::server {

// The events between the receiving threads and the log file writer, at most `capacity`. TCP
// waits for room, which slows its senders down and loses nothing; UDP cannot wait, so what
// does not fit is dropped and counted.
class EventQueue {
public:
    explicit EventQueue(std::size_t capacity);

    // Moves in as many of the events as fit; returns how many did not.
    std::size_t tryPush(std::vector<LogEvent>& events);
    // Moves in all the events, waiting for room; false when the queue was closed meanwhile.
    bool push(std::vector<LogEvent>& events);
    // Takes every queued event into `out` (emptied first), waiting up to `timeout` for the
    // first; false when the queue is closed and empty.
    bool takeAll(std::vector<LogEvent>& out, std::chrono::milliseconds timeout);
    // Wakes every waiting thread; pushes fail from now on, takes drain what is left.
    void close();
    bool closed();

private:
    std::mutex m_lock;
    std::condition_variable m_hasEvents;
    std::condition_variable m_hasRoom;
    std::vector<LogEvent> m_events;
    std::size_t m_capacity;
    bool m_closed = false;
};

} // namespace velmora::server
