#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "core/eventlog/EventStore.h"
#include "core/popup/PopupCondition.h"

namespace velmora {

// A new event waiting for its sound and popup: the event itself, and a copy of its priority so
// that the queue thread decides without reading the event list, which only the main thread
// touches. The popup reads the rest of the event from the list when it is shown.
struct PopupRecord {
    EventId event;
    std::string priority;
};

// The settings the queue obeys, read afresh for every event.
struct PopupSettings {
    // Seconds a popup stays fully open; 0 or less: no popups.
    std::int64_t popupEvents = 0;
    // The sound file; empty: no sound.
    std::string popupSound;
    // The severity names for which a popup is shown and for which the sound is played.
    std::vector<std::string> popupDisplayArray;
    std::vector<std::string> popupPlayArray;
};

// What the popup queue needs from the program around it. The queue thread calls every one of
// these; an implementation hands the work to the thread that owns the settings and the screen.
class PopupHost {
public:
    virtual ~PopupHost() = default;

    // The settings as they stand now; nullopt when `stop` was requested before they were read.
    virtual std::optional<PopupSettings> popupSettings(std::stop_token stop) = 0;

    // Starts playing the sound file and returns at once, without waiting for the sound to end.
    // A file that cannot be played gives no sound.
    virtual void playSound(const std::string& path) = 0;

    // Shows the popup of `record`, to stay fully open `popupTime` seconds, and returns once it is
    // on screen. The popup signals `gone` exactly once, when its window goes away. Returns false
    // when `stop` was requested before the popup could be shown; `gone` is then never signalled.
    virtual bool showPopup(const PopupRecord& record, std::int64_t popupTime,
                           std::shared_ptr<PopupCondition> gone, std::stop_token stop) = 0;
};

} // namespace velmora
