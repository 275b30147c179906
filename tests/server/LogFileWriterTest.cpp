#include "server/LogFileWriter.h"

#include <filesystem>
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
