#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/eventlog/LogLineReader.h"
#include "core/presentation/DateTextWriter.h"
#include "core/reports/ReportFiles.h"
#include "core/reports/TextTable.h"
#include "core/system/HugePageAllocator.h"

namespace velmora {

// The four groupings of a report, by their index in the Reports page's list.
enum class ReportGrouping : int { Host = 0, Message = 1, Priority = 2, Date = 3 };
inline constexpr int kReportGroupingCount = 4;

// The fields of a log line.
enum class ReportField : int { Date = 0, Priority = 1, Host = 2, Message = 3 };

// The field of each of a report's four columns: the group key first, then the three fields of
// the detail rows ("Second", "Third", "Forth").
std::array<ReportField, 4> reportColumns(ReportGrouping grouping);
// The titles of those columns: "Host", "Date", "Priority" or "Message".
std::array<std::string_view, 4> reportColumnTitles(ReportGrouping grouping);

// A group of a report, numbered in order of first appearance.
enum class GroupId : std::uint32_t {};
// A detail row (one log line), numbered in file and line order.
enum class DetailId : std::uint32_t {};

// A report over the log files: one group per distinct key text, in order of first appearance,
// each with its detail rows in file and line order. Keys are equal only when their texts are
// exactly equal (case and all).
//
// Built for tens of millions of lines: a detail row is 16 bytes, where its line lies in its file
// and its group, and the line is read again from the file, kept open, when the row is shown.
// Group keys are held as texts, but for keys taken from messages, which are read back from
// their first line until they are compared or shown. A line found changed on disk since the build
// (a file rewritten in place) no longer matches the check kept with it, and its row shows empty
// texts rather than another line's.
//
// Reading is not thread-safe (rows are read and dates written through shared buffers): after
// the build only one thread at a time may use a report.
class Report {
public:
    // Shared, never copied: its table of keys reads deferred keys back through the report.
    Report(const Report&) = delete;
    Report& operator=(const Report&) = delete;

    ReportGrouping grouping() const { return m_grouping; }
    const std::string& dateFormat() const { return m_dates.displayFormat(); }

    std::size_t groupCount() const { return m_groupStart.size() - 1; }
    std::string_view groupKey(GroupId group) const { return m_keys.text(index(group)); }
    // The group whose key is exactly this text.
    std::optional<GroupId> findGroup(std::string_view key) const;
    // The group's detail rows, in file and line order.
    std::span<const DetailId> groupDetails(GroupId group) const;

    std::size_t detailCount() const { return m_details.size(); }
    GroupId detailGroup(DetailId detail) const { return GroupId{m_details[index(detail)].group}; }
    // The text of a detail row in column 1, 2 or 3; valid until the next call.
    std::string_view detailText(DetailId detail, int column) const;

    // Whether the report no longer matches its files: a file it read was replaced, removed,
    // cut shorter or written over where its last line lay, or a line read since the build was
    // found changed (its row shows empty texts). A file the server only appended to still
    // holds every line of the report, and does not count.
    bool changedOnDisk() const;
    // Whether the report is known not to match its files: a line read since the build was
    // found changed, or changedOnDisk() found a file changed.
    bool changeSeen() const { return m_changeSeen; }

    // --- reading many rows at once (an export, a print, velmoractl) ---

    // The texts of a row by field (ReportField), the date as display text; all empty for a line
    // found changed on disk since the build.
    using LineTexts = std::array<std::string, 4>;
    // Bytes of a detail's line in its file.
    std::size_t lineBytes(DetailId detail) const {
        return static_cast<std::size_t>(m_details[index(detail)].place & kPlaceLengthMask);
    }
    // The detail whose line a group's key is still to be read from (a report by message reads
    // its keys back only when they are needed); nullopt for a key held as text.
    std::optional<DetailId> keyLine(GroupId group) const;
    // Reads the lines of `lines` (details, in any order, repeats allowed) in file order with
    // large reads, and calls visit(i, fields) for each lines[i]: its fields as the file holds
    // them now, or nullopt when it no longer holds that line. The fields stay valid during the
    // call only.
    using LineVisitor = std::function<void(std::size_t i, const std::optional<LogFields>& fields)>;
    void readLines(std::span<const DetailId> lines, const LineVisitor& visit) const;
    // A detail's texts by field from its line's fields as readLines gives them: views into the
    // fields, into the report for the date, or into `scratch` for a field that is
    // no UTF-8 (decoded leniently). All empty when the line changed since the build. Valid until
    // the fields or scratch change, or the next call.
    using LineViews = std::array<std::string_view, 4>;
    void detailViews(DetailId detail, const std::optional<LogFields>& fields, LineViews& views,
                     LineTexts& scratch) const;
    // A key read from its line's fields (the message, decoded), as groupKey() gives it.
    static std::string keyOfLine(const std::optional<LogFields>& fields);

    // Bytes held, for the memory figures.
    std::size_t memoryBytes() const;

private:
    friend class ReportEngine;
    friend class ReportLines;

    struct Detail {
        std::uint64_t place; // the line's offset in its file << 16 | the length of its piece
        std::uint32_t check; // ReportLines::check() of the piece
        std::uint32_t group;
    };
    static constexpr unsigned kPlaceLengthBits = 16;
    static constexpr std::uint64_t kPlaceLengthMask = (std::uint64_t{1} << kPlaceLengthBits) - 1;
    // The texts of a line read back, for the rows on screen.
    struct ShownLine {
        std::uint32_t detail = UINT32_MAX;
        LineTexts texts;
    };
    static constexpr std::size_t kShownLines = 256; // a power of two

    Report(ReportGrouping grouping, std::string_view dateFormat);

    ReportGrouping m_grouping;
    std::array<ReportField, 4> m_columns;
    HugePageVector<Detail> m_details;
    std::vector<std::uint32_t> m_fileStart; // the first detail row of each file
    TextTable m_keys;                       // ids are group ids
    // The detail rows of group g are m_byGroup[m_groupStart[g] .. m_groupStart[g + 1]).
    HugePageVector<std::uint32_t> m_groupStart;
    HugePageVector<DetailId> m_byGroup;
    mutable ReportFiles m_files;
    mutable DateTextWriter m_dates;
    mutable std::vector<ShownLine> m_shown;
    mutable bool m_changeSeen = false;
    mutable std::vector<char> m_readBuffer; // for readLines
    mutable std::string m_lastDate;         // the date field last written, and its text
    mutable std::string m_lastDateText;

    static std::uint32_t index(GroupId group) { return static_cast<std::uint32_t>(group); }
    static std::uint32_t index(DetailId detail) { return static_cast<std::uint32_t>(detail); }
    static std::size_t slot(ReportField field) { return static_cast<std::size_t>(field); }
    const ShownLine& shownLine(DetailId detail) const;
    void readLine(DetailId detail, ShownLine& line) const;
    // The fields of a detail's line as its file holds them now, when it still holds the line
    // the report was built from; views valid until the next read.
    std::optional<LogFields> lineFields(DetailId detail) const;
    // The same for a piece read from the detail's place.
    std::optional<LogFields> checkedFields(DetailId detail, std::string_view piece) const;
    std::uint32_t fileOf(DetailId detail) const;
    // A deferred message key read back.
    std::optional<std::string> messageOfLine(DetailId detail) const;
    // Views of the fields' texts, as detailViews gives them, without the key's check.
    void fieldViews(const LogFields& fields, LineViews& views, LineTexts& scratch) const;
    // Whether a row of a report by message shows its line's message: the line must still hold
    // the group's key, which the line's check leaves out. Reading the key may read a file.
    bool showsMessage(DetailId detail, std::string_view message) const;
    // Sorts the detail rows by group, keeping file order within each (a counting sort).
    void indexGroups();
};

} // namespace velmora
