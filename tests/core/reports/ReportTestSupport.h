#pragma once

#include <memory>
#include <string>
#include <vector>

#include "core/reports/Report.h"
#include "core/reports/ReportEngine.h"
#include "core/reports/ReportTable.h"

namespace velmora::test {

// A report's groups as plain texts: each key with the three texts of its detail rows.
struct GroupTexts {
    std::string key;
    std::vector<std::vector<std::string>> details;

    bool operator==(const GroupTexts&) const = default;
};

inline std::vector<GroupTexts> groupTexts(const Report& report) {
    std::vector<GroupTexts> groups;
    for (std::uint32_t g = 0; g < report.groupCount(); ++g) {
        GroupTexts group{std::string(report.groupKey(GroupId{g})), {}};
        for (const DetailId detail : report.groupDetails(GroupId{g})) {
            std::vector<std::string> texts;
            for (int column = 1; column <= 3; ++column) {
                texts.emplace_back(report.detailText(detail, column));
            }
            group.details.push_back(std::move(texts));
        }
        groups.push_back(std::move(group));
    }
    return groups;
}

// The same read through a table with every group open, its rows prepared in batches of about
// `batchBytes` of lines, as an export reads them.
inline std::vector<GroupTexts> tableTexts(std::shared_ptr<const Report> report,
                                          std::size_t batchBytes) {
    ReportTable table(std::move(report));
    table.openAll();
    std::vector<GroupTexts> groups;
    for (std::size_t row = 0; row < table.size(); ++row) {
        if (!table.prepared(row)) {
            table.prepare(row, batchBytes);
        }
        if (table.groupAt(row)) {
            groups.push_back({std::string(table.cellText(row, 0)), {}});
        } else {
            groups.back().details.push_back({std::string(table.cellText(row, 1)),
                                             std::string(table.cellText(row, 2)),
                                             std::string(table.cellText(row, 3))});
        }
    }
    return groups;
}

inline std::unique_ptr<Report> buildReport(const std::string& directory, ReportGrouping grouping,
                                           std::string logName = std::string(kAllLogs),
                                           std::string dateFormat = "yyyy-MM-dd HH:mm:ss") {
    return ReportEngine({directory, std::move(logName), grouping, std::move(dateFormat)}).build();
}

} // namespace velmora::test
