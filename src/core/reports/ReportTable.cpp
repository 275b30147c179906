#include "core/reports/ReportTable.h"

#include <algorithm>
#include <utility>

namespace velmora {

ReportTable::ReportTable(std::shared_ptr<const Report> report, std::span<const GroupId> open)
    : m_report(std::move(report)) {
    const std::size_t groups = m_report ? m_report->groupCount() : 0;
    m_open.assign(groups, false);
    std::size_t rows = groups;
    for (const GroupId group : open) {
        m_open[static_cast<std::size_t>(group)] = true;
        rows += m_report->groupDetails(group).size();
    }
    m_rows.reserve(rows);
    for (std::size_t g = 0; g < groups; ++g) {
        m_rows.push_back(static_cast<std::uint32_t>(g) | kGroupBit);
        if (m_open[g]) {
            for (const DetailId detail :
                 m_report->groupDetails(GroupId{static_cast<std::uint32_t>(g)})) {
                m_rows.push_back(static_cast<std::uint32_t>(detail));
            }
        }
    }
}

std::optional<std::size_t> ReportTable::rowOf(GroupId group) const {
    const auto found =
        std::find(m_rows.begin(), m_rows.end(), static_cast<std::uint32_t>(group) | kGroupBit);
    return found == m_rows.end() ? std::nullopt
                                 : std::optional<std::size_t>(found - m_rows.begin());
}

std::optional<GroupId> ReportTable::groupAt(std::size_t row) const {
    if (row >= m_rows.size() || !isGroupRow(m_rows[row])) {
        return std::nullopt;
    }
    return GroupId{m_rows[row] & ~kGroupBit};
}

std::string_view ReportTable::cellText(std::size_t row, int column) const {
    if (row >= m_rows.size()) {
        return {};
    }
    const std::uint32_t value = m_rows[row];
    if (isGroupRow(value)) {
        return column == 0 ? m_report->groupKey(GroupId{value & ~kGroupBit}) : std::string_view();
    }
    return column == 0 ? std::string_view() : m_report->detailText(DetailId{value}, column);
}

bool ReportTable::hasGroup(std::string_view key) const {
    // Group rows never leave a table, so every group of its report is in it.
    return m_report && m_report->findGroup(key).has_value();
}

bool ReportTable::isDetailOf(std::size_t row, GroupId group) const {
    return row < m_rows.size() && !isGroupRow(m_rows[row]) &&
           m_report->detailGroup(DetailId{m_rows[row]}) == group;
}

ReportTable::Change ReportTable::changeOnClick(std::size_t row) const {
    const std::optional<GroupId> group = groupAt(row);
    if (!group) {
        return {};
    }
    if (!isOpen(*group)) {
        return {Change::Kind::Insert, row + 1, m_report->groupDetails(*group).size()};
    }
    std::size_t count = 0;
    while (isDetailOf(row + 1 + count, *group)) {
        ++count;
    }
    return {Change::Kind::Remove, row + 1, count};
}

void ReportTable::apply(const Change& change) {
    if (change.kind == Change::Kind::None) {
        return;
    }
    const GroupId group = *groupAt(change.first - 1);
    const auto at = m_rows.begin() + static_cast<std::ptrdiff_t>(change.first);
    if (change.kind == Change::Kind::Insert) {
        const std::span<const DetailId> details = m_report->groupDetails(group);
        const auto first = m_rows.insert(at, details.size(), 0);
        std::transform(details.begin(), details.end(), first,
                       [](DetailId detail) { return static_cast<std::uint32_t>(detail); });
        m_open[static_cast<std::size_t>(group)] = true;
    } else {
        m_rows.erase(at, at + static_cast<std::ptrdiff_t>(change.count));
        m_open[static_cast<std::size_t>(group)] = false;
    }
}

} // namespace velmora
