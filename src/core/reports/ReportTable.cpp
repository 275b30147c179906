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
    if (prepared(row)) {
        const std::array<std::uint32_t, 5>& bounds = m_batch.rows[row - m_batch.first].bounds;
        const auto c = static_cast<std::size_t>(column);
        return std::string_view(m_batch.texts).substr(bounds[c], bounds[c + 1] - bounds[c] - 1);
    }
    const std::uint32_t value = m_rows[row];
    if (isGroupRow(value)) {
        return column == 0 ? m_report->groupKey(GroupId{value & ~kGroupBit}) : std::string_view();
    }
    return column == 0 ? std::string_view() : m_report->detailText(DetailId{value}, column);
}

void ReportTable::appendRow(std::size_t row, char separator, std::string& out) const {
    if (!prepared(row)) {
        prepare(row);
    }
    // The row stands whole in the batch, with separators of its own.
    const std::array<std::uint32_t, 5>& bounds = m_batch.rows[row - m_batch.first].bounds;
    const std::size_t start = out.size();
    out.append(m_batch.texts, bounds[0], bounds[4] - bounds[0]);
    for (std::size_t c = 1; c < 4; ++c) {
        out[start + bounds[c] - bounds[0] - 1] = separator;
    }
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

void ReportTable::openAll() {
    m_batch = {};
    m_rows.clear();
    m_rows.reserve(m_report ? m_report->groupCount() + m_report->detailCount() : 0);
    for (std::uint32_t g = 0; g < m_open.size(); ++g) {
        m_rows.push_back(g | kGroupBit);
        for (const DetailId detail : m_report->groupDetails(GroupId{g})) {
            m_rows.push_back(static_cast<std::uint32_t>(detail));
        }
        m_open[g] = true;
    }
}

void ReportTable::prepare(std::size_t first, std::size_t batchBytes) const {
    // The lines to read: a detail row's own, and for a group row whose key is still to be read
    // from a line, that line; `reader` tells for each its row and which of the two it is.
    std::vector<DetailId> lines;
    std::vector<std::size_t> reader; // row << 1 | 1 for a key
    m_batch.first = first;
    m_batch.rows.clear();
    m_batch.texts.clear();
    std::size_t bytes = 0;
    for (std::size_t row = first; row < m_rows.size() && (row == first || bytes < batchBytes);
         ++row) {
        m_batch.rows.emplace_back();
        std::optional<DetailId> line;
        if (const std::optional<GroupId> group = groupAt(row)) {
            line = m_report->keyLine(*group);
            if (!line) {
                keepTexts(row, {m_report->groupKey(*group)});
            }
        } else {
            line = DetailId{m_rows[row]};
        }
        if (line) {
            lines.push_back(*line);
            reader.push_back(row << 1 | (isGroupRow(m_rows[row]) ? 1 : 0));
            bytes += m_report->lineBytes(*line);
        }
    }
    m_batch.texts.reserve(bytes + bytes / 4);
    const std::array<ReportField, 4> fields = reportColumns(m_report->grouping());
    Report::LineViews views;
    Report::LineTexts scratch;
    m_report->readLines(lines, [&](std::size_t i, const std::optional<LogFields>& read) {
        const std::size_t row = reader[i] >> 1;
        if ((reader[i] & 1) != 0) {
            keepTexts(row, {Report::keyOfLine(read)});
            return;
        }
        m_report->detailViews(lines[i], read, views, scratch);
        const auto text = [&](std::size_t column) {
            return views[static_cast<std::size_t>(fields[column])];
        };
        keepTexts(row, {{}, text(1), text(2), text(3)});
    });
}

void ReportTable::keepTexts(std::size_t row, std::initializer_list<std::string_view> texts) const {
    std::array<std::uint32_t, 5>& bounds = m_batch.rows[row - m_batch.first].bounds;
    const auto* text = texts.begin();
    for (std::size_t column = 0; column < 4; ++column) {
        bounds[column] = static_cast<std::uint32_t>(m_batch.texts.size());
        if (text != texts.end()) {
            m_batch.texts.append(*text++);
        }
        m_batch.texts.push_back(column < 3 ? '\t' : '\n');
    }
    bounds[4] = static_cast<std::uint32_t>(m_batch.texts.size());
}

void ReportTable::apply(const Change& change) {
    if (change.kind == Change::Kind::None) {
        return;
    }
    m_batch = {};
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
