#pragma once

#include <array>
#include <functional>
#include <string>

#include "core/Result.h"
#include "core/reports/ReportTable.h"

namespace velmora {

// Writes a report's table as it stands to a text file: the four column titles, then one line
// per row, fields joined by the separator ("\t" for a "txt" file, "," for a "csv" one), each
// line ended by "\n". A group row is its key and three empty fields, a detail row an empty
// field and its three texts. Texts are written as they stand: no quoting, so a comma in a
// message adds fields to a "csv" line. The file is written as UTF-8 and replaced atomically;
// the text is streamed, so a table of millions of rows never sits in memory whole. When a line
// is found rewritten while it is read, the file is left as it was and the error is
// ErrorCode::Changed.
Status exportReportTable(const ReportTable& table, const std::array<std::string, 4>& titles,
                         char separator, const std::string& path);

// The same text handed to `write` a block at a time; the first failure it returns ends the
// writing and is returned.
using TextSink = std::function<Status(std::string_view block)>;
Status writeReportTable(const ReportTable& table, const std::array<std::string, 4>& titles,
                        char separator, const TextSink& write);

// The separator for a file: a tab when its extension is "txt", else a comma.
char exportSeparator(const std::string& path);

} // namespace velmora
