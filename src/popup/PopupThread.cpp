#include "popup/PopupThread.h"

#include <string>
#include <utility>

#include <QString>

#include "app/Logging.h"
#include "core/settings/RuntimeSettings.h"
#include "popup/PopupSound.h"
#include "popup/PopupView.h"

namespace velmora {

PopupThread::PopupThread(const EventStore& store, const RuntimeSettings& runtime,
                         QWidget* detailsOwner)
    : m_store(store)
    , m_runtime(runtime)
    , m_detailsOwner(detailsOwner)
    , m_sound(new PopupSound(this))
    , m_queue(*this) {}

PopupThread::~PopupThread() {
    m_stopping = true;
    if (m_popup) {
        // Closing releases the popup's condition; the queue thread then ends at its stop.
        m_popup->close();
        delete m_popup;
    }
    m_queue.stop();
}

void PopupThread::start() {
    m_queue.start();
}

void PopupThread::append(EventId event, std::string_view priority) {
    m_queue.append({event, std::string(priority)});
}

PopupView* PopupThread::currentPopup() const {
    return m_popup;
}

// Runs `work` on the main thread and waits until it has run, or until the queue stops: the main
// thread may itself be waiting for the queue thread to end. `work` must own what it uses, since
// it may still run after this returned.
template <typename Work>
bool PopupThread::onMainThread(Work work, std::stop_token stop) {
    auto done = std::make_shared<PopupCondition>();
    QMetaObject::invokeMethod(
        this,
        [work = std::move(work), done]() mutable {
            work();
            done->signal();
        },
        Qt::QueuedConnection);
    return done->wait(std::move(stop));
}

std::optional<PopupSettings> PopupThread::popupSettings(std::stop_token stop) {
    auto settings = std::make_shared<PopupSettings>();
    const bool read = onMainThread(
        [this, settings] {
            settings->popupEvents = m_runtime.iPopupEvents;
            settings->popupSound = m_runtime.popupSound;
            settings->popupDisplayArray = m_runtime.popupDisplayArray;
            settings->popupPlayArray = m_runtime.popupPlayArray;
        },
        std::move(stop));
    return read ? std::optional<PopupSettings>(std::move(*settings)) : std::nullopt;
}

void PopupThread::playSound(const std::string& path) {
    QMetaObject::invokeMethod(
        this, [this, file = QString::fromStdString(path)] { m_sound->play(file); },
        Qt::QueuedConnection);
}

bool PopupThread::showPopup(const PopupRecord& record, std::int64_t popupTime,
                            std::shared_ptr<PopupCondition> gone, std::stop_token stop) {
    return onMainThread(
        [this, event = record.event, popupTime, gone = std::move(gone)]() mutable {
            displayAlert(event, popupTime, std::move(gone));
        },
        std::move(stop));
}

void PopupThread::displayAlert(EventId event, std::int64_t popupTime,
                               std::shared_ptr<PopupCondition> gone) {
    if (m_stopping) {
        return;
    }
    auto* popup = new PopupView(m_store, event, popupTime, std::move(gone), m_detailsOwner);
    m_popup = popup;
    qCDebug(lcPopup) << "popup of event" << static_cast<quint32>(event) << "for" << popupTime
                     << "s";
    popup->show();
    popup->raise();
    emit popupShown(popup);
}

} // namespace velmora
