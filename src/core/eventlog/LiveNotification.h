#pragma once

#include "core/archive/Value.h"
#include "core/eventlog/EventStore.h"

namespace velmora {

enum class NotificationType { Set, Remove, Other };

// The server's announcement of a new or removed event, read from the notification's user
// information. The fields are views into that dictionary, which must outlive them.
struct LiveNotification {
    NotificationType type = NotificationType::Other;
    EventFields fields;
    // Every other key the server sent, kept unchanged in the event.
    Dictionary extras;
};

// The user information is another process's data and is taken as it comes: a Type other than
// the texts "Set" and "Remove" (or none) is Other, and Date, Priority, Host or Message holding
// anything but a text is absent from the event, as if it had not been sent.
LiveNotification readLiveNotification(const Dictionary& userInformation);

} // namespace velmora
