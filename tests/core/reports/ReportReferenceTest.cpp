// Reports against the plain reading they must equal: fgets + strtok over each chosen file, the
// date written by ICU itself, and the groups found by a linear scan of the groups made so far,
// on random directories made to hit duplicate and nearly duplicate keys, lines cut into pieces,
// missing and empty fields, bytes that are not UTF-8 and dates that are no numbers.

#include <array>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/eventlog/FgetsReference.h"
#include "core/eventlog/LogDirectory.h"
#include "core/eventlog/Utf8.h"
#include "core/presentation/DateFormat.h"
#include "core/reports/ReportTestSupport.h"
#include "support/TempDir.h"

namespace velmora {
namespace {

using test::GroupTexts;

constexpr int kDirectories = 150;

template <std::size_t N>
std::string pick(std::mt19937& random, const std::array<const char*, N>& choices) {
    return choices[std::uniform_int_distribution<std::size_t>(0, N - 1)(random)];
}

std::string randomMessage(std::mt19937& random) {
    static constexpr std::array<const char*, 8> words = {
        "disk full", "ok", "a, b, c", ",lead", "caf\xc3\xa9", "bad \xff byte", "x", "OK"};
    std::string message = pick(random, words);
    const int extra = std::uniform_int_distribution<int>(0, 12)(random);
    if (extra == 12) {
        message += std::string(std::uniform_int_distribution<int>(900, 2200)(random), 'L');
    } else if (extra > 8) {
        message += " " + pick(random, words);
    }
    return message;
}

std::string randomLine(std::mt19937& random) {
    static constexpr std::array<const char*, 9> dates = {
        "1700000000", "1700000000.5", "1700000059.9995", "-1", "abc", "1700003600",
        " 42",        "1e3",          "1700000001"};
    static constexpr std::array<const char*, 5> priorities = {
        "User.Notice", "user.notice", "Kern.Error", "Local7.Debug", "Auth.Alert"};
    static constexpr std::array<const char*, 6> hosts = {"h1",       "H1",          "h2",
                                                         "10.0.0.1", "\xc4\xa5ost", "\xfe\xff"};
    std::string line = pick(random, dates) + "," + pick(random, priorities) + "," +
                       pick(random, hosts) + "," + randomMessage(random);
    switch (std::uniform_int_distribution<int>(0, 15)(random)) {
    case 0:
        line = ",," + line; // leading separators
        break;
    case 1:
        line.insert(line.find(','), ","); // an empty field collapses
        break;
    case 2:
        line.resize(line.rfind(',')); // three fields
        break;
    default:
        break;
    }
    return line + (std::uniform_int_distribution<int>(0, 5)(random) == 0 ? "\r\n" : "\n");
}

// The report the plain reading gives, its groups found by scanning them one by one.
std::vector<GroupTexts> referenceReport(const std::string& directory, const std::string& logName,
                                        ReportGrouping grouping, const std::string& dateFormat) {
    const DateFormat format(dateFormat);
    const std::array<ReportField, 4> columns = reportColumns(grouping);
    std::vector<GroupTexts> groups;
    const Result<std::vector<std::string>> files = listLogFiles(directory);
    for (const std::string& name : *files) {
        if (logName != kAllLogs && withoutPathExtension(name) != logName) {
            continue;
        }
        for (const test::PieceRecord& line :
             test::readWithFgets(test::readFile(directory + "/" + name))) {
            if (!line.hasFields) {
                continue;
            }
            const std::array<std::string, 4> values = {
                format.format(timestampFromText(line.date)), decodeLenient(line.priority),
                decodeLenient(line.host), decodeLenient(line.message)};
            const auto value = [&](int column) {
                return values[static_cast<std::size_t>(columns[static_cast<std::size_t>(column)])];
            };
            auto group = groups.begin();
            while (group != groups.end() && group->key != value(0)) {
                ++group;
            }
            if (group == groups.end()) {
                group = groups.insert(groups.end(), {value(0), {}});
            }
            group->details.push_back({value(1), value(2), value(3)});
        }
    }
    return groups;
}

TEST(ReportReference, HashGroupingEqualsTheLinearScanOnRandomDirectories) {
    std::mt19937 random(2024);
    const std::array<const char*, 3> formats = {"", "yyyy-MM-dd HH:mm", "ss"};
    for (int d = 0; d < kDirectories; ++d) {
        const test::TempDir dir;
        const int files = std::uniform_int_distribution<int>(1, 3)(random);
        std::vector<std::string> logNames = {std::string(kAllLogs)};
        for (int f = 0; f < files; ++f) {
            std::string content;
            const int lines = std::uniform_int_distribution<int>(0, 120)(random);
            for (int i = 0; i < lines; ++i) {
                content += randomLine(random);
            }
            if (!content.empty() && random() % 4 == 0) {
                content.pop_back(); // no line feed at the end
            }
            logNames.push_back(f == 0 ? "All Logs" : "f" + std::to_string(f));
            test::writeFile(dir / (logNames.back() + ".log"), content);
        }
        const std::string logName =
            logNames[std::uniform_int_distribution<std::size_t>(0, logNames.size() - 1)(random)];
        const std::string format = pick(random, formats);
        for (int g = 0; g < kReportGroupingCount; ++g) {
            const auto grouping = static_cast<ReportGrouping>(g);
            const std::unique_ptr<Report> report =
                test::buildReport(dir.str(), grouping, logName, format);
            ASSERT_EQ(test::groupTexts(*report),
                      referenceReport(dir.str(), logName, grouping, format))
                << "directory " << d << ", grouping " << g << ", log " << logName;
            for (std::uint32_t group = 0; group < report->groupCount(); ++group) {
                ASSERT_EQ(report->findGroup(report->groupKey(GroupId{group})), GroupId{group});
            }
            ASSERT_EQ(report->findGroup("no such key"), std::nullopt);
        }
    }
}

// An export, a print and velmoractl read a report's rows in batches, their lines in file order:
// the same texts, in batches of any size, while the keys of a report by message are still to
// be read from their lines.
TEST(ReportReference, BatchesOfRowsEqualTheLinearScanOnRandomDirectories) {
    std::mt19937 random(2025);
    for (int d = 0; d < kDirectories / 3; ++d) {
        const test::TempDir dir;
        std::string content;
        const int lines = std::uniform_int_distribution<int>(0, 200)(random);
        for (int i = 0; i < lines; ++i) {
            content += randomLine(random);
        }
        test::writeFile(dir / "a.log", content);
        for (int g = 0; g < kReportGroupingCount; ++g) {
            const auto grouping = static_cast<ReportGrouping>(g);
            const std::size_t batchBytes =
                std::uniform_int_distribution<std::size_t>(1, 3000)(random);
            ASSERT_EQ(
                test::tableTexts(test::buildReport(dir.str(), grouping), batchBytes),
                referenceReport(dir.str(), std::string(kAllLogs), grouping, "yyyy-MM-dd HH:mm:ss"))
                << "directory " << d << ", grouping " << g << ", batches of " << batchBytes;
        }
    }
}

} // namespace
} // namespace velmora
