// The benchmark log generator: benchmarks compare figures across runs, so its output must be a
// function of its options, and it must look like the server's logs to the reader.

#include "loggen/LogGenerator.h"

#include <charconv>
#include <set>
#include <string>

#include <gtest/gtest.h>

#include "core/eventlog/FgetsReference.h"
#include "core/eventlog/LogDirectory.h"
#include "core/eventlog/LogLineReader.h"
#include "core/eventlog/Utf8.h"
#include "support/TempDir.h"

namespace velmora {
namespace {

using bench::LogGenerator;
using bench::LogGeneratorOptions;

LogGeneratorOptions smallOptions(std::uint64_t seed) {
    LogGeneratorOptions options;
    options.totalBytes = 3 << 20;
    options.files = 3;
    options.seed = seed;
    options.startSeconds = 1700000000;
    options.spanSeconds = 86400;
    return options;
}

TEST(LogGenerator, SameOptionsGiveTheSameBytes) {
    const LogGenerator a(smallOptions(7));
    const LogGenerator b(smallOptions(7));
    const LogGenerator other(smallOptions(8));
    for (std::size_t file = 0; file < 3; ++file) {
        EXPECT_EQ(a.generateFile(file), b.generateFile(file)) << file;
        EXPECT_NE(a.generateFile(file), other.generateFile(file)) << file;
    }
}

double secondsOf(std::string_view date) {
    double seconds = -1;
    const auto [end, error] = std::from_chars(date.data(), date.data() + date.size(), seconds);
    return error == std::errc() && end == date.data() + date.size() ? seconds : -1;
}

TEST(LogGenerator, LinesAreLogLinesWithRisingDatesInTheFilesShareOfTheSpan) {
    const LogGenerator generator(smallOptions(1));
    std::set<std::string> priorities;
    std::set<std::string> hosts;
    for (std::size_t file = 0; file < 3; ++file) {
        const std::string content = generator.generateFile(file);
        ASSERT_LE(content.size(), generator.fileBytes(file));
        EXPECT_GT(content.size() + 64, generator.fileBytes(file));
        EXPECT_TRUE(isValidUtf8(content));
        const double first = 1700000000 + 28800.0 * static_cast<double>(file);
        double previous = first;
        std::size_t lines = 0;
        forEachPiece(content, [&](std::string_view piece) {
            ++lines;
            const std::optional<LogFields> fields = parseLogPiece(piece);
            ASSERT_TRUE(fields.has_value()) << piece;
            ASSERT_EQ(piece.back(), '\n');
            EXPECT_EQ(fields->message.data() + fields->message.size() + 1,
                      piece.data() + piece.size());
            EXPECT_GE(fields->message.size(), 30u);
            EXPECT_LE(fields->message.size(), 300u);
            const double seconds = secondsOf(fields->date);
            EXPECT_GE(seconds, previous) << fields->date;
            EXPECT_LT(seconds, first + 28800) << fields->date;
            previous = seconds;
            priorities.emplace(fields->priority);
            hosts.emplace(fields->host);
        });
        const double averageLine = static_cast<double>(content.size()) / static_cast<double>(lines);
        EXPECT_GT(averageLine, 130);
        EXPECT_LT(averageLine, 170);
    }
    EXPECT_TRUE(priorities.contains("Local7.Informational"));
    EXPECT_TRUE(priorities.contains("Daemon.Emergency"));
    EXPECT_EQ(hosts.size(), 40u);
}

TEST(LogGenerator, WritesNamedFilesThatTheReaderReadsAsFgetsDoes) {
    const test::TempDir dir;
    LogGeneratorOptions options = smallOptions(3);
    options.totalBytes = 1 << 20;
    options.files = 2;
    const LogGenerator generator(options);
    ASSERT_TRUE(generator.writeFiles(dir.str()).ok());
    const Result<std::vector<std::string>> names = listLogFiles(dir.str());
    ASSERT_TRUE(names.ok());
    EXPECT_EQ(std::set<std::string>(names->begin(), names->end()),
              (std::set<std::string>{"events-000.log", "events-001.log"}));
    for (const std::string& name : *names) {
        std::vector<char> bytes;
        ASSERT_TRUE(readFileInto((dir / name).string(), bytes).ok());
        const std::string_view content(bytes.data(), bytes.size());
        std::size_t events = 0;
        forEachPiece(content,
                     [&](std::string_view piece) { events += parseLogPiece(piece) ? 1 : 0; });
        std::size_t expected = 0;
        for (const test::PieceRecord& record : test::readWithFgets(content)) {
            expected += record.hasFields ? 1 : 0;
        }
        EXPECT_GT(events, 3000u) << name;
        EXPECT_EQ(events, expected) << name;
    }
}

TEST(LogGenerator, ParsesSizesAndDurationsWithUnits) {
    EXPECT_EQ(*bench::parseByteSize("1G"), std::uint64_t{1} << 30);
    EXPECT_EQ(*bench::parseByteSize("200M"), std::uint64_t{200} << 20);
    EXPECT_EQ(*bench::parseByteSize("1234"), 1234u);
    EXPECT_EQ(*bench::parseDuration("30d"), 30 * 86400);
    EXPECT_EQ(*bench::parseDuration("90m"), 5400);
    for (const char* bad : {"", "G", "1X", "1GB", "99999999999T"}) {
        EXPECT_FALSE(bench::parseByteSize(bad).ok()) << bad;
    }
}

} // namespace
} // namespace velmora
