#include "core/reports/ReportEngine.h"

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/eventlog/LogDirectory.h"
#include "core/presentation/DateFormat.h"
#include "core/reports/ReportTestSupport.h"
#include "support/TempDir.h"

namespace velmora {
namespace {

using test::buildReport;
using test::GroupTexts;
using test::groupTexts;
using test::TempDir;
using test::writeFile;

std::vector<std::string> keysOf(const Report& report) {
    std::vector<std::string> keys;
    for (std::uint32_t g = 0; g < report.groupCount(); ++g) {
        keys.emplace_back(report.groupKey(GroupId{g}));
    }
    return keys;
}

// The file names of a directory's log files, without extension, in listing order.
std::vector<std::string> logNamesInListingOrder(const std::string& directory) {
    std::vector<std::string> names;
    const Result<std::vector<std::string>> files = listLogFiles(directory);
    for (const std::string& name : *files) {
        names.emplace_back(withoutPathExtension(name));
    }
    return names;
}

class ReportEngineTest : public ::testing::Test {
protected:
    TempDir dir;
};

TEST_F(ReportEngineTest, ReadsAllLogsOrTheChosenOneAndAFileNamedAllLogsEitherWay) {
    writeFile(dir / "alpha.log", "1700000000,User.Notice,alpha-host,a\n");
    writeFile(dir / "All Logs.log", "1700000000,User.Notice,all-logs-host,b\n");
    writeFile(dir / "beta.LOG", "1700000000,User.Notice,upper-case-extension,c\n");
    writeFile(dir / "gamma.log.1", "1700000000,User.Notice,rotated,d\n");
    writeFile(dir / "notes.txt", "1700000000,User.Notice,text-file,e\n");

    // Every log file, in the order the directory lists them.
    std::vector<std::string> everyHost;
    for (const std::string& name : logNamesInListingOrder(dir.str())) {
        everyHost.push_back(name == "alpha" ? "alpha-host" : "all-logs-host");
    }
    EXPECT_EQ(keysOf(*buildReport(dir.str(), ReportGrouping::Host)), everyHost);
    EXPECT_EQ(keysOf(*buildReport(dir.str(), ReportGrouping::Host, "alpha")),
              std::vector<std::string>{"alpha-host"});
    EXPECT_TRUE(keysOf(*buildReport(dir.str(), ReportGrouping::Host, "beta")).empty());
    EXPECT_TRUE(keysOf(*buildReport(dir.str(), ReportGrouping::Host, "gamma.log")).empty());

    std::vector<std::string> choices = {"All Logs"};
    for (const std::string& name : logNamesInListingOrder(dir.str())) {
        choices.push_back(name);
    }
    EXPECT_EQ(ReportEngine::logChoices(dir.str()), choices);
}

TEST_F(ReportEngineTest, AMissingDirectoryGivesAnEmptyReportAndOnlyAllLogs) {
    const std::string missing = (dir / "missing").string();
    EXPECT_EQ(buildReport(missing, ReportGrouping::Host)->groupCount(), 0u);
    EXPECT_EQ(ReportEngine::logChoices(missing), std::vector<std::string>{"All Logs"});
}

TEST_F(ReportEngineTest, GroupsByExactKeyInOrderOfFirstAppearance) {
    writeFile(dir / "a.log", "1700000000,User.Notice,Web01,first\n"
                             "1700000001,Kern.Error,web01,second, with, commas\n"
                             "1700000002,User.Notice,10.0.0.1\n" // three fields: nothing
                             "1700000003,,10.0.0.2,empty field collapses to three\n"
                             ",,1700000004,User.Notice,Web01,leading commas\r\n"
                             "1700000005,User.Notice,Web01,,message starting with a comma\n");
    const std::vector<GroupTexts> byHost =
        groupTexts(*buildReport(dir.str(), ReportGrouping::Host));
    const std::vector<GroupTexts> expected = {
        {"Web01",
         {{"2023-11-14 22:13:20", "User.Notice", "first"},
          {"2023-11-14 22:13:24", "User.Notice", "leading commas"},
          {"2023-11-14 22:13:25", "User.Notice", ",message starting with a comma"}}},
        {"web01", {{"2023-11-14 22:13:21", "Kern.Error", "second, with, commas"}}},
    };
    EXPECT_EQ(byHost, expected);

    const std::vector<GroupTexts> byPriority =
        groupTexts(*buildReport(dir.str(), ReportGrouping::Priority));
    ASSERT_EQ(byPriority.size(), 2u);
    EXPECT_EQ(byPriority[0].key, "User.Notice");
    EXPECT_EQ(byPriority[0].details[1],
              (std::vector<std::string>{"2023-11-14 22:13:24", "Web01", "leading commas"}));
    EXPECT_EQ(byPriority[1].details[0],
              (std::vector<std::string>{"2023-11-14 22:13:21", "web01", "second, with, commas"}));

    const std::vector<GroupTexts> byMessage =
        groupTexts(*buildReport(dir.str(), ReportGrouping::Message));
    ASSERT_EQ(byMessage.size(), 4u);
    EXPECT_EQ(byMessage[1].key, "second, with, commas");
    EXPECT_EQ(byMessage[1].details[0],
              (std::vector<std::string>{"2023-11-14 22:13:21", "Kern.Error", "web01"}));
}

TEST_F(ReportEngineTest, DatesAreWrittenInTheDisplayFormatAndLocalTime) {
    writeFile(dir / "a.log", "1700000000,User.Notice,h,m\n"
                             "1700000000.75,User.Notice,h,same second\n"
                             "not-a-number,User.Notice,h,epoch\n"
                             "1700003600,User.Notice,h,an hour later\n");
    struct Case {
        const char* zone;
        const char* format;
        std::vector<std::string> keys;
    };
    const Case cases[] = {
        // No format: the short date and medium time styles.
        {"UTC", "", {"2023-11-14 22:13:20", "1970-01-01 00:00:00", "2023-11-14 23:13:20"}},
        {"America/New_York",
         "",
         {"2023-11-14 17:13:20", "1969-12-31 19:00:00", "2023-11-14 18:13:20"}},
        {"Asia/Kolkata",
         "dd.MM.yyyy h:mm AM/PM",
         {"15.11.2023 3:43 AM", "01.01.1970 5:30 AM", "15.11.2023 4:43 AM"}},
        // The granularity of the format is that of the groups.
        {"UTC", "yyyy-MM-dd", {"2023-11-14", "1970-01-01"}},
    };
    for (const Case& c : cases) {
        ::setenv("TZ", c.zone, 1);
        reloadDefaultTimeZone();
        EXPECT_EQ(keysOf(*buildReport(dir.str(), ReportGrouping::Date, "All Logs", c.format)),
                  c.keys)
            << c.zone << " " << c.format;
    }
    ::setenv("TZ", "UTC", 1);
    reloadDefaultTimeZone();
    const std::unique_ptr<Report> byHost =
        buildReport(dir.str(), ReportGrouping::Host, "All Logs", "");
    EXPECT_EQ(byHost->detailText(byHost->groupDetails(GroupId{0})[2], 1), "1970-01-01 00:00:00");
}

// What the server, a deletion or an administrator may do to a file after a report read it: what
// the report's rows then show, and whether it must be read again.
TEST_F(ReportEngineTest, AFileChangedAfterTheBuild) {
    const std::string first = "1700000000,User.Notice,h,first line\n";
    const std::string second = "1700000001,User.Notice,h,second line\n";
    const std::string third = "1700000002,User.Notice,h,third\n";
    // Two files; the one that changes is read last.
    writeFile(dir / "a.log", "");
    writeFile(dir / "b.log", "");
    const std::vector<std::string> listed = logNamesInListingOrder(dir.str());
    const std::filesystem::path log = dir / (listed[1] + ".log");
    writeFile(dir / (listed[0] + ".log"), "1700000000,User.Notice,x,elsewhere\n");
    const auto later = [&] {
        std::filesystem::last_write_time(log, std::filesystem::file_time_type::clock::now() +
                                                  std::chrono::seconds(5));
    };
    const auto inPlace = [&](const std::string& content) { // as a deletion rewrites a file
        writeFile(log, content);
        later();
    };
    const std::vector<std::string> built = {"first line", "second line"};
    const std::vector<std::string> blank = {"", ""};
    struct Case {
        const char* what;
        std::function<void()> change;
        bool changed;
        std::vector<std::string> shown; // the messages of the rows; none: not looked at
        ReportGrouping grouping = ReportGrouping::Host;
    };
    const Case cases[] = {
        {"untouched", [] {}, false, built},
        {"appended to", [&] { std::ofstream(log, std::ios::app) << third; }, false, built},
        {"touched", later, false, built},
        // The report reads on through its descriptor the file it was built from; the new one
        // is as long, so only its identity tells.
        {"replaced",
         [&] {
             writeFile(dir / "new.tmp", first + second + third);
             std::filesystem::rename(dir / "new.tmp", log);
         },
         true, built},
        {"removed", [&] { std::filesystem::remove(log); }, true, built},
        // A row shows nothing rather than another line.
        {"without its first line", [&] { inPlace(second); }, true, blank},
        {"without its first line, then appended past its old size",
         [&] { inPlace(second + "1700000003,User.Notice,h,a longer fourth line\n"); }, true, blank},
        {"its last message rewritten, by message",
         [&] { inPlace(first + "1700000001,User.Notice,h,second lime\n"); },
         true,
         {},
         ReportGrouping::Message},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        writeFile(log, first + second);
        const std::unique_ptr<Report> report = buildReport(dir.str(), c.grouping);
        c.change();
        if (!c.shown.empty()) {
            std::vector<std::string> shown;
            for (const DetailId detail : report->groupDetails(*report->findGroup("h"))) {
                shown.emplace_back(report->detailText(detail, 3));
            }
            EXPECT_EQ(shown, c.shown);
        }
        EXPECT_EQ(report->changedOnDisk(), c.changed);
    }
}

TEST_F(ReportEngineTest, ALineRewrittenInPlaceShowsNothingRatherThanAnotherLine) {
    writeFile(dir / "a.log", "1700000000,User.Notice,h,first line\n"
                             "1700000001,User.Notice,h,second line\n");
    const std::shared_ptr<const Report> report = buildReport(dir.str(), ReportGrouping::Host);
    // Rewritten in place without its first line, as a deletion does.
    std::filesystem::resize_file(dir / "a.log", 0);
    std::ofstream(dir / "a.log", std::ios::in | std::ios::out)
        << "1700000001,User.Notice,h,second line\n";

    const std::vector<std::string> nothing = {"", "", ""};
    const std::vector<GroupTexts> expected = {{"h", {nothing, nothing}}};
    EXPECT_EQ(groupTexts(*report), expected);
    EXPECT_EQ(test::tableTexts(report, 1), expected);
}

TEST_F(ReportEngineTest, ACancelledBuildGivesNoReportAndProgressReachesTheEnd) {
    std::string lines;
    for (int i = 0; i < 5000; ++i) {
        lines += "1700000000,User.Notice,host" + std::to_string(i % 7) + ",message\n";
    }
    writeFile(dir / "a.log", lines);
    const ReportEngine engine({dir.str(), "All Logs", ReportGrouping::Host, ""});

    std::atomic<bool> cancelled = true;
    EXPECT_EQ(engine.build(&cancelled), nullptr);

    cancelled = false;
    std::uint64_t lastRead = 0;
    std::uint64_t lastTotal = 0;
    const std::unique_ptr<Report> report =
        engine.build(&cancelled, [&](std::uint64_t read, std::uint64_t total) {
            EXPECT_GE(read, lastRead);
            lastRead = read;
            lastTotal = total;
        });
    ASSERT_NE(report, nullptr);
    EXPECT_EQ(report->groupCount(), 7u);
    EXPECT_EQ(lastRead, lines.size());
    EXPECT_EQ(lastTotal, lines.size());
}

} // namespace
} // namespace velmora
