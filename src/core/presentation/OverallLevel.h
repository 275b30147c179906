#pragma once

#include <cstdint>
#include <string_view>

#include "core/eventlog/SeverityCounters.h"
#include "core/presentation/Severity.h"

namespace velmora {

// The dashboard's overall level: the highest level the user gave to a severity that has at
// least one event, 0 when none is higher. It follows the user's levels, not a fixed rank, and
// takes them as stored, so a settings file can make it any non-negative number.
std::int64_t overallLevel(const SeverityCounters& counters, const SeverityLevels& levels);

// The overall level the dashboard keeps between refreshes (severityStatus): a result that is
// a level replaces the kept one; a result of 3 or more leaves the kept one in place.
Level nextSeverityStatus(Level kept, std::int64_t overall);

// "No unwanted or harmful events detected." and the two sentences of the higher levels.
std::string_view overallLevelSentence(Level level);

} // namespace velmora
