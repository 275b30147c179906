#pragma once

#include <array>
#include <bit>
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
        for (unsigned bits = severities.bits(); bits != 0; bits &= bits - 1) {
            ++m_counts[static_cast<std::size_t>(std::countr_zero(bits))];
        }
    }

    void reset() { m_counts.fill(0); }

    friend bool operator==(const SeverityCounters&, const SeverityCounters&) = default;

private:
    std::array<std::int64_t, kSeverityCount> m_counts{};
};

} // namespace velmora
