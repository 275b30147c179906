#pragma once

#include <span>
#include <string>
#include <string_view>

namespace velmora {

// The text of exported events: a header line of the table's column titles, then one line per
// exported row with the texts its cells show, both in the table's current column order.
//
// Values are written as they stand: no quoting, no escaping of separators, quotes or line
// breaks inside a value, no separator after the last column. A message that holds a comma
// makes its line of a comma-separated file one field longer than the header; readers of these
// files have always had to take that.
class ExportText {
public:
    // By the file's extension, compared exactly: "txt" gives a tab. "csv" gives a comma, and so
    // does any other extension (the file chooser offers only the two).
    static char separatorFor(std::string_view path);

    explicit ExportText(char separator)
        : m_separator(separator) {}

    // Appends the cells, separated, and a line feed.
    void appendLine(std::span<const std::string_view> cells, std::string& out) const;

private:
    char m_separator;
};

} // namespace velmora
