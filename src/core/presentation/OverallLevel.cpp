#include "core/presentation/OverallLevel.h"

#include <algorithm>

namespace velmora {

std::int64_t overallLevel(const SeverityCounters& counters, const SeverityLevels& levels) {
    std::int64_t level = 0;
    for (const Severity severity : kAllSeverities) {
        if (counters[severity] > 0) {
            level = std::max(level, levels[severity]);
        }
    }
    return level;
}

Level nextSeverityStatus(Level kept, std::int64_t overall) {
    return levelFromInteger(overall).value_or(kept);
}

std::string_view overallLevelSentence(Level level) {
    switch (level) {
    case Level::Normal:
        return "No unwanted or harmful events detected.";
    case Level::Moderate:
        return "Review potentialy unwanted events.";
    case Level::Severe:
        return "Review harmful or potentialy unwanted events.";
    }
    return {};
}

} // namespace velmora
