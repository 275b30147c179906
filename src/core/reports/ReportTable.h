#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/reports/Report.h"

namespace velmora {

// The rows of a report's table as they stand: one group row per group, in order, and under each
// open group its detail rows in file and line order. A group row shows its key in column 0 and
// nothing else; a detail row shows nothing in column 0 and its three fields in columns 1 to 3.
//
// Rows are four bytes each, so a table with every group of a ten-million-line report open stays
// small, and opening a group is one block copy.
class ReportTable {
public:
    // What a click on a row changes: `count` rows inserted or removed at `first`.
    struct Change {
        enum class Kind { None, Insert, Remove };
        Kind kind = Kind::None;
        std::size_t first = 0;
        std::size_t count = 0;
    };

    // An empty table, as the page shows before a report and after each appearance.
    ReportTable() = default;
    // Every group closed but those given, which are open.
    explicit ReportTable(std::shared_ptr<const Report> report, std::span<const GroupId> open = {});

    const Report* report() const { return m_report.get(); }
    std::size_t size() const { return m_rows.size(); }

    std::optional<GroupId> groupAt(std::size_t row) const;
    // The row of a group (a walk over the rows).
    std::optional<std::size_t> rowOf(GroupId group) const;
    bool isOpen(GroupId group) const { return m_open[static_cast<std::size_t>(group)]; }

    // The text of a cell; valid until the next call.
    std::string_view cellText(std::size_t row, int column) const;

    // Whether a group row with this key is in the table (findText:forKey:).
    bool hasGroup(std::string_view key) const;

    // A click on `row`: a closed group opens, its detail rows inserted right under it; an open
    // group closes, the detail rows of its key right under it removed (up to the end of the
    // table); a detail row changes nothing. changeOnClick() tells the change before apply()
    // makes it, so that a view can be told first.
    Change changeOnClick(std::size_t row) const;
    void apply(const Change& change);

private:
    // A row: a detail id, or a group id with kGroupBit set.
    static constexpr std::uint32_t kGroupBit = std::uint32_t{1} << 31;

    std::shared_ptr<const Report> m_report;
    std::vector<std::uint32_t> m_rows;
    std::vector<bool> m_open; // by group

    static bool isGroupRow(std::uint32_t row) { return (row & kGroupBit) != 0; }
    bool isDetailOf(std::size_t row, GroupId group) const;
};

} // namespace velmora
