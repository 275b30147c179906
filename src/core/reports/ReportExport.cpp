#include "core/reports/ReportExport.h"

#include "core/eventlog/LogDirectory.h"
#include "core/system/AtomicFileWriter.h"

namespace velmora {

namespace {

constexpr std::size_t kFlushBytes = std::size_t{1} << 20;

template <typename CellText>
void appendLine(std::string& out, char separator, CellText&& cellText) {
    for (int column = 0; column < 4; ++column) {
        out += cellText(column);
        out += column < 3 ? separator : '\n';
    }
}

} // namespace

char exportSeparator(const std::string& path) {
    return pathExtension(path) == "txt" ? '\t' : ',';
}

Status exportReportTable(const ReportTable& table, const std::array<std::string, 4>& titles,
                         char separator, const std::string& path) {
    Result<AtomicFileWriter> file = AtomicFileWriter::open(path, NewFileMode::UserDefault);
    if (!file) {
        return file.error();
    }
    if (Status written = writeReportTable(
            table, titles, separator, [&](std::string_view block) { return file->write(block); });
        !written) {
        return written;
    }
    return file->commit();
}

Status writeReportTable(const ReportTable& table, const std::array<std::string, 4>& titles,
                        char separator, const TextSink& write) {
    std::string buffer;
    buffer.reserve(kFlushBytes + 4096);
    appendLine(buffer, separator, [&](int column) -> const std::string& {
        return titles[static_cast<std::size_t>(column)];
    });
    for (std::size_t row = 0; row < table.size(); ++row) {
        table.appendRow(row, separator, buffer);
        if (buffer.size() >= kFlushBytes) {
            if (Status written = write(buffer); !written) {
                return written;
            }
            buffer.clear();
        }
    }
    if (Status written = write(buffer); !written) {
        return written;
    }
    // A line rewritten while it was read was written empty: what was written is not kept.
    if (table.report() != nullptr && table.report()->changeSeen()) {
        return Error{ErrorCode::Changed, "the log files changed while the report was written"};
    }
    return {};
}

} // namespace velmora
