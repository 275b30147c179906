#pragma once

#include <chrono>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <stop_token>
#include <thread>

#include "core/popup/PopupHost.h"

namespace velmora {

// The popup queue: new events wait here in arrival order, and one thread of its own takes them
// one at a time, plays the sound and shows a popup for each as the settings of the moment say,
// and goes on only when the popup has gone. So at most one popup is on screen, and a burst of
// events is shown as a series of popups, one after another.
//
// The thread polls: a pass takes the front record, if any, handles it, then pauses 0.2 s,
// whether or not there was a record. So consecutive popups and sounds are at least 0.2 s apart
// and an idle queue wakes five times a second. Nothing is dropped or merged and the queue has no
// limit. stop() (also the destructor) ends the thread at once, also in the middle of a pause or
// while a popup is on screen.
class PopupQueue {
public:
    static constexpr std::chrono::milliseconds kPassInterval{200};

    // Pauses the queue thread between passes; returns early when `stop` is requested.
    using Pause = std::function<void(std::chrono::milliseconds, std::stop_token)>;
    static void sleepUnlessStopped(std::chrono::milliseconds duration, std::stop_token stop);

    explicit PopupQueue(PopupHost& host, Pause pause = sleepUnlessStopped);
    PopupQueue(const PopupQueue&) = delete;
    PopupQueue& operator=(const PopupQueue&) = delete;
    ~PopupQueue();

    void start();
    // Ends the thread and waits for it. The records still queued stay queued.
    void stop();

    // Any thread.
    void append(PopupRecord record);
    std::size_t size() const;

private:
    PopupHost& m_host;
    Pause m_pause;
    mutable std::mutex m_mutex;
    std::deque<PopupRecord> m_records; // guarded by m_mutex
    std::jthread m_thread;

    void run(std::stop_token stop);
    std::optional<PopupRecord> takeFront();
    void handle(const PopupRecord& record, std::stop_token stop);
};

} // namespace velmora
