#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
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
//
// A pass over many rows (an export, a print, velmoractl) prepares them a batch at a time: the
// lines of a group lie all over the files, and read one by one in table order they would make
// the files be read many times over. A batch reads the lines of its rows in file order with
// large reads and keeps their texts until the next batch.
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
    // Appends a row's four texts, each but the last followed by `separator`, and a line feed;
    // prepares the rows from this one on when it is not prepared.
    void appendRow(std::size_t row, char separator, std::string& out) const;

    // Reads the texts of the rows from `first` on, as many as about `batchBytes` of their lines
    // make, and keeps them for cellText() until the next batch or change.
    static constexpr std::size_t kBatchBytes = std::size_t{512} << 20;
    void prepare(std::size_t first, std::size_t batchBytes = kBatchBytes) const;
    bool prepared(std::size_t row) const {
        return row >= m_batch.first && row < m_batch.first + m_batch.rows.size();
    }

    // Every group open, its detail rows under it, as after a click on each.
    void openAll();

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

    // The texts of a prepared row stand in Batch::texts as an export writes them, each followed
    // by a separator and the last by a line feed: column c's from bounds[c] up to the byte
    // before bounds[c + 1].
    struct RowTexts {
        std::array<std::uint32_t, 5> bounds{};
    };
    struct Batch {
        std::size_t first = 0;
        std::vector<RowTexts> rows;
        std::string texts;
    };

    std::shared_ptr<const Report> m_report;
    std::vector<std::uint32_t> m_rows;
    std::vector<bool> m_open; // by group
    mutable Batch m_batch;

    static bool isGroupRow(std::uint32_t row) { return (row & kGroupBit) != 0; }
    bool isDetailOf(std::size_t row, GroupId group) const;
    // Keeps a prepared row's texts, column 0 first; the columns not given are empty.
    void keepTexts(std::size_t row, std::initializer_list<std::string_view> texts) const;
};

} // namespace velmora
