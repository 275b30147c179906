#pragma once

#include <array>
#include <cstdint>

#include "core/presentation/Severity.h"

namespace velmora {

// The number of events of each severity in the event list, for the dashboard.
class SeverityCounters {
public:
    std::int64_t operator[](Severity s) const { return m_counts[static_cast<std::size_t>(s)]; }
    std::int64_t& operator[](Severity s) { return m_counts[static_cast<std::size_t>(s)]; }

    // An event counts once for every severity its priority counts as (see countedSeverities).
    void count(const SeveritySet& severities) {
        for (const Severity s : kAllSeverities) {
            if (severities.contains(s)) {
                ++(*this)[s];
            }
        }
    }

    void reset() { m_counts.fill(0); }

    friend bool operator==(const SeverityCounters&, const SeverityCounters&) = default;

private:
    std::array<std::int64_t, kSeverityCount> m_counts{};
};

} // namespace velmora
