#include "core/popup/PopupQueue.h"

#include <condition_variable>
#include <memory>
#include <utility>

#include "core/presentation/Severity.h"

namespace velmora {

void PopupQueue::sleepUnlessStopped(std::chrono::milliseconds duration, std::stop_token stop) {
    std::mutex mutex;
    std::condition_variable_any stopped;
    std::unique_lock lock(mutex);
    stopped.wait_for(lock, stop, duration, [] { return false; });
}

PopupQueue::PopupQueue(PopupHost& host, Pause pause)
    : m_host(host)
    , m_pause(std::move(pause)) {}

PopupQueue::~PopupQueue() {
    stop();
}

void PopupQueue::start() {
    if (!m_thread.joinable()) {
        m_thread = std::jthread([this](std::stop_token stop) { run(std::move(stop)); });
    }
}

void PopupQueue::stop() {
    if (m_thread.joinable()) {
        m_thread.request_stop();
        m_thread.join();
    }
}

void PopupQueue::append(PopupRecord record) {
    const std::scoped_lock lock(m_mutex);
    m_records.push_back(std::move(record));
}

std::size_t PopupQueue::size() const {
    const std::scoped_lock lock(m_mutex);
    return m_records.size();
}

std::optional<PopupRecord> PopupQueue::takeFront() {
    const std::scoped_lock lock(m_mutex);
    if (m_records.empty()) {
        return std::nullopt;
    }
    PopupRecord front = std::move(m_records.front());
    m_records.pop_front();
    return front;
}

void PopupQueue::run(std::stop_token stop) {
    while (!stop.stop_requested()) {
        if (const std::optional<PopupRecord> record = takeFront()) {
            handle(*record, stop);
        }
        m_pause(kPassInterval, stop);
    }
}

void PopupQueue::handle(const PopupRecord& record, std::stop_token stop) {
    // Read for every event, so that a change of the options applies from the next one on.
    const std::optional<PopupSettings> settings = m_host.popupSettings(stop);
    if (!settings) {
        return;
    }
    if (!settings->popupSound.empty() && popupSelects(record.priority, settings->popupPlayArray)) {
        m_host.playSound(settings->popupSound);
    }
    if (settings->popupEvents > 0 && popupSelects(record.priority, settings->popupDisplayArray)) {
        auto gone = std::make_shared<PopupCondition>();
        if (m_host.showPopup(record, settings->popupEvents, gone, stop)) {
            gone->wait(stop);
        }
    }
}

} // namespace velmora
