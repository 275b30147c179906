#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <utility>

#include "server/EventSink.h"

namespace velmora::server {

// Batches waiting for one sink, at most `capacity` events. A batch that does not fit is
// dropped and its events counted: a sink that falls behind loses its own work, never the
// reception's or the log files'.
class BatchQueue {
public:
    explicit BatchQueue(std::size_t capacity)
        : m_capacity(capacity) {}

    void push(const EventBatch& batch) {
        {
            const std::scoped_lock guard(m_lock);
            if (m_events + batch->size() > m_capacity) {
                m_dropped += batch->size();
                return;
            }
            m_events += batch->size();
            m_batches.push_back(batch);
        }
        m_ready.notify_one();
    }

    // The oldest batch, waiting up to `timeout`; nothing on time-out or once closed and empty.
    std::optional<EventBatch> take(std::chrono::milliseconds timeout) {
        std::unique_lock guard(m_lock);
        m_ready.wait_for(guard, timeout, [this] { return m_closed || !m_batches.empty(); });
        if (m_batches.empty()) {
            return std::nullopt;
        }
        EventBatch batch = std::move(m_batches.front());
        m_batches.pop_front();
        m_events -= batch->size();
        return batch;
    }

    void close() {
        {
            const std::scoped_lock guard(m_lock);
            m_closed = true;
        }
        m_ready.notify_all();
    }

    bool closed() {
        const std::scoped_lock guard(m_lock);
        return m_closed;
    }

    // Events dropped since the last call.
    std::uint64_t takeDropped() {
        const std::scoped_lock guard(m_lock);
        return std::exchange(m_dropped, 0);
    }

private:
    std::mutex m_lock;
    std::condition_variable m_ready;
    std::deque<EventBatch> m_batches;
    std::size_t m_capacity;
    std::size_t m_events = 0;
    std::uint64_t m_dropped = 0;
    bool m_closed = false;
};

} // namespace velmora::server
