#include "core/popup/PopupText.h"

namespace velmora {

std::string_view popupHeader(std::string_view priority) {
    const std::size_t dot = priority.find('.');
    if (dot == std::string_view::npos || dot == 0) {
        return priority;
    }
    return priority.substr(dot + 1);
}

std::string popupDetails(std::optional<std::string_view> date,
                         std::optional<std::string_view> priority,
                         std::optional<std::string_view> host,
                         std::optional<std::string_view> message) {
    std::string details;
    details.append("Date: ").append(date.value_or(""));
    details.append("\nPriority: ").append(priority.value_or(""));
    details.append("\nHost: ").append(host.value_or(""));
    details.append("\n\nMessage:\n").append(message.value_or(""));
    return details;
}

} // namespace velmora
