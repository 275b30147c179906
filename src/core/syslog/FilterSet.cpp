#include "core/syslog/FilterSet.h"

#include <algorithm>

namespace velmora {

namespace {

std::vector<EventFilter> filtersOf(const Array& records) {
    std::vector<EventFilter> filters;
    for (const Value& record : records) {
        static const Dictionary kNotARecord;
        const Dictionary* dictionary = record.asDictionary();
        filters.push_back(EventFilter::fromRecord(dictionary ? *dictionary : kNotARecord));
    }
    return filters;
}

void addProblems(std::vector<std::string>& out, const std::vector<EventFilter>& filters,
                 std::string_view list) {
    for (const EventFilter& filter : filters) {
        if (!filter.problem().empty()) {
            out.push_back(std::string(list) + " filter \"" + filter.name() +
                          "\" matches nothing: " + filter.problem());
        }
    }
}

} // namespace

FilterSet FilterSet::fromSettings(const Dictionary& settings) {
    FilterSet set;
    set.m_include = filtersOf(settings.array("includeFiltersArray"));
    set.m_exclude = filtersOf(settings.array("excludeFiltersArray"));
    return set;
}

bool FilterSet::keeps(const FilterSubject& subject) const {
    const auto matches = [&subject](const EventFilter& filter) { return filter.matches(subject); };
    return (m_include.empty() || std::any_of(m_include.begin(), m_include.end(), matches)) &&
           std::none_of(m_exclude.begin(), m_exclude.end(), matches);
}

std::vector<std::string> FilterSet::problems() const {
    std::vector<std::string> out;
    addProblems(out, m_include, "include");
    addProblems(out, m_exclude, "exclude");
    return out;
}

} // namespace velmora
