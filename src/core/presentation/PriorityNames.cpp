#include "core/presentation/PriorityNames.h"

#include <vector>

namespace velmora {

std::optional<std::string> priorityText(int priority) {
    constexpr int kSeverities = static_cast<int>(kSyslogSeverityNames.size());
    if (priority < 0 || priority >= static_cast<int>(kFacilityNames.size()) * kSeverities) {
        return std::nullopt;
    }
    std::string text(kFacilityNames[static_cast<std::size_t>(priority / kSeverities)]);
    text += '.';
    text += kSyslogSeverityNames[static_cast<std::size_t>(priority % kSeverities)];
    return text;
}

std::string_view priorityName(int priority) noexcept {
    static const std::vector<std::string> kNames = [] {
        std::vector<std::string> names;
        for (int p = 0; priorityText(p); ++p) {
            names.push_back(*priorityText(p));
        }
        return names;
    }();
    return kNames[static_cast<std::size_t>(priority)];
}

} // namespace velmora
