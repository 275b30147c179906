#include "core/reports/Report.h"

#include <algorithm>
#include <cerrno>
#include <unistd.h>

#include "core/eventlog/LogLineReader.h"
#include "core/eventlog/Utf8.h"
#include "core/reports/ReportLines.h"

namespace velmora {

namespace {

std::string decoded(std::string_view bytes) {
    return isValidUtf8(bytes) ? std::string(bytes) : decodeLenient(bytes);
}

// Reads from `offset` until the buffer is full or the file ends; the bytes read, or -1.
ssize_t preadFully(int fd, std::vector<char>& buffer, std::uint64_t offset) {
    std::size_t filled = 0;
    while (filled < buffer.size()) {
        const ssize_t n = ::pread(fd, buffer.data() + filled, buffer.size() - filled,
                                  static_cast<off_t>(offset + filled));
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n < 0) {
            return -1;
        }
        if (n == 0) {
            break;
        }
        filled += static_cast<std::size_t>(n);
    }
    return static_cast<ssize_t>(filled);
}

// The indexes of `lines` in the order of their details, which is file order; equal details
// keep the order they are listed in. Many lines are sorted by radix, 16 bits a pass.
std::vector<std::uint32_t> fileOrder(std::span<const DetailId> lines) {
    constexpr std::size_t kFewLines = 2048;
    constexpr std::size_t kBuckets = std::size_t{1} << 16;
    std::vector<std::uint64_t> keys(lines.size());
    for (std::size_t i = 0; i < lines.size(); ++i) {
        keys[i] = std::uint64_t{static_cast<std::uint32_t>(lines[i])} << 32 | i;
    }
    if (lines.size() <= kFewLines) {
        std::sort(keys.begin(), keys.end());
    } else {
        std::vector<std::uint64_t> sorted(keys.size());
        for (const int shift : {32, 48}) {
            std::vector<std::size_t> start(kBuckets + 1, 0);
            for (const std::uint64_t key : keys) {
                ++start[((key >> shift) & (kBuckets - 1)) + 1];
            }
            for (std::size_t b = 0; b < kBuckets; ++b) {
                start[b + 1] += start[b];
            }
            for (const std::uint64_t key : keys) {
                sorted[start[(key >> shift) & (kBuckets - 1)]++] = key;
            }
            keys.swap(sorted);
        }
    }
    std::vector<std::uint32_t> order(keys.size());
    std::transform(keys.begin(), keys.end(), order.begin(),
                   [](std::uint64_t key) { return static_cast<std::uint32_t>(key); });
    return order;
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

std::uint32_t Report::fileOf(DetailId detail) const {
    return static_cast<std::uint32_t>(
        std::upper_bound(m_fileStart.begin(), m_fileStart.end(), index(detail)) -
        m_fileStart.begin() - 1);
}

std::optional<LogFields> Report::lineFields(DetailId detail) const {
    const Detail& d = m_details[index(detail)];
    const std::optional<std::string_view> piece =
        m_files.read(fileOf(detail), d.place >> kPlaceLengthBits, d.place & kPlaceLengthMask);
    if (!piece) {
        m_changeSeen = true; // the file no longer reaches this line
        return std::nullopt;
    }
    return checkedFields(detail, *piece);
}

std::optional<LogFields> Report::checkedFields(DetailId detail, std::string_view piece) const {
    std::optional<LogFields> fields = parseLogPiece(piece);
    if (!fields || ReportLines::check(piece, *fields, m_columns[0] == ReportField::Message) !=
                       m_details[index(detail)].check) {
        m_changeSeen = true; // the file changed under this line since the build
        return std::nullopt;
    }
    return fields;
}

std::optional<std::string> Report::messageOfLine(DetailId detail) const {
    const std::optional<LogFields> fields = lineFields(detail);
    return fields ? std::optional<std::string>(keyOfLine(fields)) : std::nullopt;
}

std::string Report::keyOfLine(const std::optional<LogFields>& fields) {
    return fields ? decoded(fields->message) : std::string();
}

std::optional<DetailId> Report::keyLine(GroupId group) const {
    if (const std::optional<std::uint32_t> line = m_keys.deferredReference(index(group))) {
        return DetailId{*line};
    }
    return std::nullopt;
}

void Report::readLine(DetailId detail, ShownLine& line) const {
    line.detail = index(detail);
    for (std::string& text : line.texts) {
        text.clear();
    }
    const std::optional<LogFields> fields = lineFields(detail);
    if (!fields) {
        return;
    }
    LineViews views;
    LineTexts scratch;
    fieldViews(*fields, views, scratch);
    for (std::size_t field = 0; field < views.size(); ++field) {
        line.texts[field].assign(views[field]);
    }
    // The texts are copied first: reading the key may read the file again, over the fields.
    if (!showsMessage(detail, line.texts[slot(ReportField::Message)])) {
        for (std::string& text : line.texts) {
            text.clear();
        }
    }
}

void Report::detailViews(DetailId detail, const std::optional<LogFields>& fields, LineViews& views,
                         LineTexts& scratch) const {
    views = {};
    if (!fields) {
        return;
    }
    fieldViews(*fields, views, scratch);
    if (!showsMessage(detail, views[slot(ReportField::Message)])) {
        views = {};
    }
}

void Report::fieldViews(const LogFields& fields, LineViews& views, LineTexts& scratch) const {
    // The three fields stand in this order in one piece: when the bytes from the first to the
    // end of the last are UTF-8, so is each.
    const char* const end = fields.message.data() + fields.message.size();
    const bool allText = isValidUtf8(std::string_view(
        fields.priority.data(), static_cast<std::size_t>(end - fields.priority.data())));
    const auto text = [&](ReportField field, std::string_view bytes) {
        std::string_view& view = views[slot(field)];
        if (allText || isValidUtf8(bytes)) {
            view = bytes;
        } else {
            scratch[slot(field)] = decodeLenient(bytes);
            view = scratch[slot(field)];
        }
    };
    // Lines of one second often follow one another.
    if (m_grouping != ReportGrouping::Date && fields.date != m_lastDate) {
        m_lastDate.assign(fields.date);
        m_lastDateText.assign(m_dates.format(timestampFromText(fields.date)));
    }
    views[slot(ReportField::Date)] = m_lastDateText;
    text(ReportField::Priority, fields.priority);
    text(ReportField::Host, fields.host);
    text(ReportField::Message, fields.message);
}

bool Report::showsMessage(DetailId detail, std::string_view message) const {
    // A key still to be read from this very line is this message.
    const GroupId group = detailGroup(detail);
    const bool shown = m_columns[0] != ReportField::Message || keyLine(group) == detail ||
                       message == groupKey(group);
    if (!shown) {
        m_changeSeen = true; // the line under this message changed since the build
    }
    return shown;
}

bool Report::changedOnDisk() const {
    for (std::uint32_t file = 0; file < m_files.size() && !m_changeSeen; ++file) {
        m_changeSeen = m_files.changed(file);
    }
    return m_changeSeen;
}

void Report::readLines(std::span<const DetailId> lines, const LineVisitor& visit) const {
    constexpr std::size_t kReadBytes = std::size_t{1} << 20;
    std::uint32_t file = UINT32_MAX; // of the bytes in the buffer
    std::uint64_t bufferOffset = 0;  // the file offset of the buffer's first byte
    std::size_t buffered = 0;        // bytes in the buffer
    for (const std::uint32_t i : fileOrder(lines)) {
        const DetailId detail = lines[i];
        const Detail& d = m_details[index(detail)];
        const std::uint64_t offset = d.place >> kPlaceLengthBits;
        const auto length = static_cast<std::size_t>(d.place & kPlaceLengthMask);
        const std::uint32_t lineFile = fileOf(detail);
        if (lineFile != file || offset < bufferOffset ||
            offset + length > bufferOffset + buffered) {
            m_readBuffer.resize(std::max(kReadBytes, length));
            const ssize_t n = preadFully(m_files.descriptor(lineFile), m_readBuffer, offset);
            file = lineFile;
            bufferOffset = offset;
            buffered = n < 0 ? 0 : static_cast<std::size_t>(n);
        }
        if (offset + length > bufferOffset + buffered) {
            m_changeSeen = true; // the file no longer reaches this line
            visit(i, std::nullopt);
            continue;
        }
        const std::string_view piece(m_readBuffer.data() + (offset - bufferOffset), length);
        visit(i, checkedFields(detail, piece));
    }
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
