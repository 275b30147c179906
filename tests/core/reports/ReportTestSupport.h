#pragma once

#include <string>
#include <vector>

#include "core/reports/Report.h"
#include "core/reports/ReportEngine.h"

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

inline std::unique_ptr<Report> buildReport(const std::string& directory, ReportGrouping grouping,
                                           std::string logName = std::string(kAllLogs),
                                           std::string dateFormat = "yyyy-MM-dd HH:mm:ss") {
    return ReportEngine({directory, std::move(logName), grouping, std::move(dateFormat)}).build();
}

} // namespace velmora::test
