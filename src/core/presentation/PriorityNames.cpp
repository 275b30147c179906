#include "core/presentation/PriorityNames.h"

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

} // namespace velmora
