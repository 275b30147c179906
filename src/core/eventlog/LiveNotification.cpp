#include "core/eventlog/LiveNotification.h"

#include <array>
#include <optional>
#include <string_view>

namespace velmora {

namespace {

constexpr std::string_view kType = "Type";
constexpr std::array<std::string_view, 5> kOwnKeys = {kType, "Date", "Priority", "Host", "Message"};

std::optional<std::string_view> text(const Dictionary& dictionary, std::string_view key) {
    if (const Value* value = dictionary.find(key)) {
        if (const std::string* s = value->asString()) {
            return *s;
        }
    }
    return std::nullopt;
}

NotificationType typeOf(const Dictionary& userInformation) {
    const std::optional<std::string_view> type = text(userInformation, kType);
    if (type == "Set") {
        return NotificationType::Set;
    }
    if (type == "Remove") {
        return NotificationType::Remove;
    }
    return NotificationType::Other;
}

bool isOwnKey(std::string_view key) {
    for (const std::string_view own : kOwnKeys) {
        if (key == own) {
            return true;
        }
    }
    return false;
}

} // namespace

LiveNotification readLiveNotification(const Dictionary& userInformation) {
    LiveNotification notification;
    notification.type = typeOf(userInformation);
    if (notification.type == NotificationType::Other) {
        return notification;
    }
    notification.fields = {text(userInformation, "Date"), text(userInformation, "Priority"),
                           text(userInformation, "Host"), text(userInformation, "Message")};
    for (const auto& [key, value] : userInformation) {
        if (!isOwnKey(key)) {
            notification.extras.appendUnchecked(key, value);
        }
    }
    return notification;
}

} // namespace velmora
