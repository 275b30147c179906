#pragma once

#include <string>
#include <vector>

#include "core/archive/Value.h"
#include "core/syslog/EventFilter.h"

namespace velmora {

// The include and exclude filters of the settings (includeFiltersArray, excludeFiltersArray).
// An event is kept when the include list is empty or one of its filters matches, and no
// exclude filter matches. An empty list is no filter of that kind, so with no settings every
// event is kept.
class FilterSet {
public:
    FilterSet() = default;
    static FilterSet fromSettings(const Dictionary& settings);

    bool keeps(const FilterSubject& subject) const;
    bool empty() const { return m_include.empty() && m_exclude.empty(); }

    // One line for each malformed record: which list, its name, what is wrong.
    std::vector<std::string> problems() const;

private:
    std::vector<EventFilter> m_include;
    std::vector<EventFilter> m_exclude;
};

} // namespace velmora
