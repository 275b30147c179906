#include "server/LogFileWriter.h"

#include <atomic>
#include <filesystem>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "core/eventlog/LogRewriter.h"
#include "support/TempDir.h"

namespace velmora::server {
namespace {

using test::readFile;
using test::TempDir;

constexpr std::int64_t kDate = 1700000000; // 2023-11-14 in UTC, the tests' time zone

LogEvent event(const std::string& message) {
    return {kDate, 191, "10.0.0.1", message};
}

std::string lineOf(const LogEvent& e) {
    std::string line;
    appendLogLine(line, e);
    return line;
}

TEST(LogFileWriter, OneFileADayByLocalDate) {
    TempDir dir;
    LogFileWriter writer(dir.str());
    const std::vector<LogEvent> events = {event("a"), {kDate + 86400, 13, "h", "b"}, event("c")};
    const LogFileWriter::Outcome outcome = writer.append(events);
    EXPECT_EQ(outcome.written, 3u);
    EXPECT_FALSE(outcome.error);
    EXPECT_TRUE(writer.sync().ok());
    EXPECT_EQ(readFile(dir / "2023-11-14.log"), lineOf(events[0]) + lineOf(events[2]));
    EXPECT_EQ(readFile(dir / "2023-11-15.log"), lineOf(events[1]));
    EXPECT_EQ(std::filesystem::status(dir / "2023-11-14.log").permissions() &
                  std::filesystem::perms::others_all,
              std::filesystem::perms::none);
}

// The console's deletion rewrites a file in place while the server appends to it: over many
// races, every line the server wrote is there once, in order, after the kept ones; a file the
// deletion emptied and removed is created again by the next append.
TEST(LogFileWriter, AConsoleDeletionWhileTheServerAppendsLosesNoLine) {
    TempDir dir;
    const std::filesystem::path file = dir / "2023-11-14.log";
    for (int round = 0; round < 100; ++round) {
        SCOPED_TRACE(round);
        LogFileWriter writer(dir.str());
        std::vector<LogEvent> initial;
        DeletionTable table;
        std::string kept;
        const bool deleteAll = round % 10 == 9;
        for (int i = 0; i < 500; ++i) {
            initial.push_back(
                event("round " + std::to_string(round) + " line " + std::to_string(i)));
            const std::string line = lineOf(initial.back());
            (deleteAll || i % 7 == 0) ? table.add(line) : void(kept += line);
        }
        ASSERT_EQ(writer.append(initial).written, initial.size());

        std::atomic<bool> stop = false;
        std::atomic<int> appended = 0;
        std::thread server([&] {
            for (int i = 0; !stop || i < 3; ++i) {
                const std::vector<LogEvent> one = {event("appended " + std::to_string(i))};
                ASSERT_EQ(writer.append(one).written, 1u);
                appended = i + 1;
            }
        });
        while (appended == 0) {
            std::this_thread::yield();
        }
        const RewriteReport report = LogRewriter(dir.str()).rewrite(table);
        stop = true;
        server.join();

        std::string expected = kept;
        for (int i = 0; i < appended; ++i) {
            expected += lineOf(event("appended " + std::to_string(i)));
        }
        EXPECT_TRUE(report.problems.empty());
        ASSERT_EQ(readFile(file), expected);
        std::filesystem::remove(file);
    }
}

TEST(LogFileWriter, AFileTheConsoleRemovedIsCreatedAgain) {
    TempDir dir;
    LogFileWriter writer(dir.str());
    const std::vector<LogEvent> first = {event("first")};
    ASSERT_EQ(writer.append(first).written, 1u);
    DeletionTable table;
    table.add(lineOf(first[0]));
    EXPECT_EQ(LogRewriter(dir.str()).rewrite(table).filesRemoved, 1u);
    const std::vector<LogEvent> second = {event("second")};
    ASSERT_EQ(writer.append(second).written, 1u);
    EXPECT_EQ(readFile(dir / "2023-11-14.log"), lineOf(second[0]));
}

} // namespace
} // namespace velmora::server
