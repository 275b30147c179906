#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "core/reports/Report.h"

namespace velmora {

// The choice of log files that reads them all.
inline constexpr std::string_view kAllLogs = "All Logs";

struct ReportRequest {
    std::string dataDirectory;
    // kAllLogs, or the name of one log file without its extension.
    std::string logName = std::string(kAllLogs);
    ReportGrouping grouping = ReportGrouping::Host;
    // The display date format ("" for the short date and medium time styles).
    std::string dateFormat;
};

// Builds a report from the log files of a data directory, the way the Reports page shows it.
//
// The files are those whose extension is "log", in the order the directory lists them: every
// one for kAllLogs, else those whose name without the extension is the chosen name (a file
// named "All Logs.log" is read either way). Each is cut into pieces and fields exactly as the
// event list reads it; a piece without all four fields adds nothing, and fields that are not
// valid UTF-8 are decoded leniently. A date field is read as seconds since 1970 (text that is
// no number reads as 0) and written in the display format in the process's time zone. A
// missing directory or a file that cannot be read adds nothing.
//
// Groups are found by hash, so the work grows with the bytes read, not with lines times groups.
// A report holds at most kMaxDetails lines (the tables that show it count rows in an int);
// reading stops there.
class ReportEngine {
public:
    static constexpr std::uint32_t kMaxDetails = (std::uint32_t{1} << 31) - 1;

    // Told now and then how far the reading has come. The total is the size of the chosen
    // files when the build started; a file that grows meanwhile makes `read` pass it.
    using Progress = std::function<void(std::uint64_t read, std::uint64_t total)>;

    explicit ReportEngine(ReportRequest request);

    // The report, or nullptr when `cancelled` became true during the build.
    std::unique_ptr<Report> build(const std::atomic<bool>* cancelled = nullptr,
                                  const Progress& progress = {}) const;

    // The choices of log files: kAllLogs, then each log file's name without its extension, in
    // the order the directory lists them. Only kAllLogs for a missing directory.
    static std::vector<std::string> logChoices(const std::string& dataDirectory);

private:
    ReportRequest m_request;

    std::vector<std::string> chosenFiles() const;
};

} // namespace velmora
