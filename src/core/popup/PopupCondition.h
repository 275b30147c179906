#pragma once

#include <condition_variable>
#include <mutex>
#include <stop_token>

namespace velmora {

// The completion signal of one popup: the queue thread waits on it, the main thread signals it
// when the popup's window goes away. Used once; a signal that comes before the wait is kept.
class PopupCondition {
public:
    void signal();
    bool signalled() const;
    // Returns true once signalled, false when `stop` was requested first.
    bool wait(std::stop_token stop);

private:
    mutable std::mutex m_mutex;
    std::condition_variable_any m_changed;
    bool m_signalled = false;
};

} // namespace velmora
