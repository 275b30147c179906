#pragma once

#include <cstddef>
#include <memory>
#include <string_view>

#include <QObject>
#include <QPointer>

#include "core/eventlog/EventStore.h"
#include "core/popup/PopupQueue.h"

namespace velmora {

class PopupSound;
class PopupView;
struct RuntimeSettings;

// The popup queue of the console (popupArray and its thread): new events go in from the live
// path, and the queue thread plays the sound and shows one popup after another as the run-time
// settings of the moment say.
//
// Whatever the queue thread needs of the main thread (the settings, the sound, the popup
// window) is handed over to it; a hand-off that has to wait gives up when the queue stops, so
// the program never hangs at exit on a queue thread waiting for the main thread. Destroying the
// object closes the popup on screen (releasing its condition) and ends the thread.
class PopupThread : public QObject, private PopupHost {
    Q_OBJECT

public:
    // `detailsOwner` owns the details sheets opened from popups (the main window).
    PopupThread(const EventStore& store, const RuntimeSettings& runtime,
                QWidget* detailsOwner = nullptr);
    ~PopupThread() override;

    void start();
    // Main thread: queues a new event for its sound and popup.
    void append(EventId event, std::string_view priority);
    std::size_t queued() const { return m_queue.size(); }

    PopupView* currentPopup() const;
    PopupSound& sound() const { return *m_sound; }

signals:
    // Main thread: a popup was put on screen (displayAlert).
    void popupShown(velmora::PopupView* popup);

private:
    const EventStore& m_store;
    const RuntimeSettings& m_runtime;
    QPointer<QWidget> m_detailsOwner;
    PopupSound* m_sound;
    QPointer<PopupView> m_popup;
    bool m_stopping = false;
    // Last, so that its thread has ended before anything it uses goes.
    PopupQueue m_queue;

    // The queue thread's side.
    std::optional<PopupSettings> popupSettings(std::stop_token stop) override;
    void playSound(const std::string& path) override;
    bool showPopup(const PopupRecord& record, std::int64_t popupTime,
                   std::shared_ptr<PopupCondition> gone, std::stop_token stop) override;
    template <typename Work>
    bool onMainThread(Work work, std::stop_token stop);

    // The main thread's side.
    void displayAlert(EventId event, std::int64_t popupTime, std::shared_ptr<PopupCondition> gone);
};

} // namespace velmora
