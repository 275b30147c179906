#include "core/reports/Report.h"

#include <algorithm>

#include "core/eventlog/LogLineReader.h"
#include "core/eventlog/Utf8.h"
#include "core/reports/ReportLines.h"

namespace velmora {

namespace {

std::string decoded(std::string_view bytes) {
    return isValidUtf8(bytes) ? std::string(bytes) : decodeLenient(bytes);
}

} // namespace

std::array<ReportField, 4> reportColumns(ReportGrouping grouping) {
    using enum ReportField;
    switch (grouping) {
    case ReportGrouping::Host:
        return {Host, Date, Priority, Message};
    case ReportGrouping::Message:
        return {Message, Date, Priority, Host};
    case ReportGrouping::Priority:
        return {Priority, Date, Host, Message};
    case ReportGrouping::Date:
        break;
    }
    return {Date, Priority, Host, Message};
}

std::array<std::string_view, 4> reportColumnTitles(ReportGrouping grouping) {
    static constexpr std::array<std::string_view, 4> kFieldTitles = {"Date", "Priority", "Host",
                                                                     "Message"};
    std::array<std::string_view, 4> titles;
    const std::array<ReportField, 4> columns = reportColumns(grouping);
    for (std::size_t column = 0; column < titles.size(); ++column) {
        titles[column] = kFieldTitles[static_cast<std::size_t>(columns[column])];
    }
    return titles;
}

Report::Report(ReportGrouping grouping, std::string_view dateFormat)
    : m_grouping(grouping)
    , m_columns(reportColumns(grouping))
    , m_groupStart(1, 0)
    , m_dates(dateFormat)
    , m_shown(kShownLines) {
    if (m_columns[0] == ReportField::Message) {
        m_keys.setResolver(
            [this](std::uint32_t detail) { return messageOfLine(DetailId{detail}); });
    }
}

std::optional<GroupId> Report::findGroup(std::string_view key) const {
    if (const std::optional<std::uint32_t> id = m_keys.find(key)) {
        return GroupId{*id};
    }
    return std::nullopt;
}

std::span<const DetailId> Report::groupDetails(GroupId group) const {
    const std::uint32_t first = m_groupStart[index(group)];
    const std::uint32_t end = m_groupStart[index(group) + 1];
    return std::span<const DetailId>(m_byGroup).subspan(first, end - first);
}

std::string_view Report::detailText(DetailId detail, int column) const {
    const ReportField field = m_columns[static_cast<std::size_t>(column)];
    return shownLine(detail).texts[static_cast<std::size_t>(field)];
}

const Report::ShownLine& Report::shownLine(DetailId detail) const {
    ShownLine& line = m_shown[index(detail) & (kShownLines - 1)];
    if (line.detail != index(detail)) {
        readLine(detail, line);
    }
    return line;
}

std::optional<LogFields> Report::lineFields(DetailId detail) const {
    const Detail& d = m_details[index(detail)];
    const auto file = static_cast<std::uint32_t>(
        std::upper_bound(m_fileStart.begin(), m_fileStart.end(), index(detail)) -
        m_fileStart.begin() - 1);
    const std::optional<std::string_view> piece =
        m_files.read(file, d.place >> kPlaceLengthBits, d.place & kPlaceLengthMask);
    std::optional<LogFields> fields = piece ? parseLogPiece(*piece) : std::nullopt;
    if (!fields ||
        ReportLines::check(*piece, *fields, m_columns[0] == ReportField::Message) != d.check) {
        m_changeSeen = true; // the file changed under this line since the build
        return std::nullopt;
    }
    return fields;
}

std::optional<std::string> Report::messageOfLine(DetailId detail) const {
    const std::optional<LogFields> fields = lineFields(detail);
    return fields ? std::optional<std::string>(decoded(fields->message)) : std::nullopt;
}

void Report::readLine(DetailId detail, ShownLine& line) const {
    line.detail = index(detail);
    auto& texts = line.texts;
    for (std::string& text : texts) {
        text.clear();
    }
    const std::optional<LogFields> fields = lineFields(detail);
    if (!fields) {
        return;
    }
    if (m_grouping != ReportGrouping::Date) {
        texts[slot(ReportField::Date)] = m_dates.format(timestampFromText(fields->date));
    }
    texts[slot(ReportField::Priority)] = decoded(fields->priority);
    texts[slot(ReportField::Host)] = decoded(fields->host);
    texts[slot(ReportField::Message)] = decoded(fields->message);
    // The check leaves out a message that is the key: the key is compared instead (after the
    // texts are copied, as reading the key may read the file again).
    if (m_columns[0] == ReportField::Message &&
        texts[slot(ReportField::Message)] != groupKey(detailGroup(detail))) {
        m_changeSeen = true;
        for (std::string& text : texts) {
            text.clear();
        }
    }
}

bool Report::changedOnDisk() const {
    for (std::uint32_t file = 0; file < m_files.size() && !m_changeSeen; ++file) {
        m_changeSeen = m_files.changed(file);
    }
    return m_changeSeen;
}

void Report::indexGroups() {
    const std::uint32_t groups = m_keys.size();
    m_groupStart.assign(std::size_t{groups} + 1, 0);
    for (const Detail& d : m_details) {
        ++m_groupStart[d.group + 1];
    }
    for (std::uint32_t g = 0; g < groups; ++g) {
        m_groupStart[g + 1] += m_groupStart[g];
    }
    HugePageVector<std::uint32_t> next(m_groupStart.begin(), m_groupStart.end() - 1);
    m_byGroup.resize(m_details.size());
    for (std::uint32_t row = 0; row < m_details.size(); ++row) {
        m_byGroup[next[m_details[row].group]++] = DetailId{row};
    }
}

std::size_t Report::memoryBytes() const {
    return m_details.capacity() * sizeof(Detail) + m_fileStart.capacity() * sizeof(std::uint32_t) +
           m_keys.memoryBytes() + m_groupStart.capacity() * sizeof(std::uint32_t) +
           m_byGroup.capacity() * sizeof(DetailId);
}

} // namespace velmora
