#include "core/eventlog/LogLoader.h"

#include <filesystem>
#include <random>
#include <sys/stat.h>

#include <gtest/gtest.h>

#include "core/archive/KeyedArchive.h"
#include "core/eventlog/LogDirectory.h"
#include "core/eventlog/LogLineReader.h"
#include "core/eventlog/Utf8.h"
#include "support/TempDir.h"

namespace velmora {
namespace {

using test::TempDir;
using test::writeFile;

struct Line {
    std::string date, priority, host, message;
    bool operator==(const Line&) const = default;
};

std::vector<Line> listed(const EventStore& store) {
    std::vector<Line> lines;
    for (std::size_t row = 0; row < store.size(); ++row) {
        const EventId id = store.at(row);
        lines.push_back({std::string(*store.rawDate(id)), std::string(*store.priority(id)),
                         std::string(*store.host(id)), std::string(*store.message(id))});
    }
    return lines;
}

// What the list must hold for a file's content: every piece with four fields, decoded
// leniently, the last one on top.
std::vector<Line> expectedFor(std::string_view content) {
    std::vector<Line> lines;
    forEachPiece(content, [&](std::string_view piece) {
        if (const auto f = parseLogPiece(piece)) {
            lines.push_back({decodeLenient(f->date), decodeLenient(f->priority),
                             decodeLenient(f->host), decodeLenient(f->message)});
        }
    });
    return {lines.rbegin(), lines.rend()};
}

std::string randomLog(std::mt19937& random, std::size_t bytes) {
    static const std::string alphabet = "0123456789abc,,,,\r\n\n\n\n\xC3\xA9\xFF\x80 .";
    std::string content;
    while (content.size() < bytes) {
        if (random() % 3 == 0) {
            content += "1700000000,Local7.Debug,10.0.0." + std::to_string(random() % 40) + ",msg";
            content.append(random() % 1500, 'x');
            content += '\n';
        } else {
            content += alphabet[random() % alphabet.size()];
        }
    }
    return content;
}

// Valid UTF-8 in lines around the piece size: the cut of a long line falls inside a character,
// so a piece that is not a whole line is not valid even where the whole text is.
std::string validLongLines(std::mt19937& random, std::size_t bytes) {
    static const std::string words[] = {"é", "→", "中", "😀", "a", ",", " "};
    const std::string start = "1700000000,Local7.Debug,h,";
    // With reads of 1500 bytes the first read ends with the first piece of the second line,
    // cut inside an "é".
    std::string content = start + std::string(1500 - 1023 - start.size() - 1, 'a') + "\n";
    content += start;
    for (int i = 0; i < 600; ++i) {
        content += "é";
    }
    content += "\n";
    while (content.size() < bytes) {
        content += start;
        const std::size_t length = 900 + random() % 1300;
        for (std::size_t i = 0; i < length; i += words[random() % 7].size()) {
            content += words[random() % 7];
        }
        content += random() % 5 == 0 ? "\r\n" : "\n";
    }
    return content;
}

TEST(LogLoader, PiecesCutByReadBoundariesReadAsInOneBlock) {
    std::mt19937 random(7);
    for (const std::string& content :
         {randomLog(random, 300'000), validLongLines(random, 300'000)}) {
        TempDir dir;
        writeFile(dir / "a.log", content);
        const std::vector<Line> expected = expectedFor(content);
        ASSERT_GT(expected.size(), 100u);
        for (const std::size_t readBytes : {std::size_t{1}, std::size_t{1500}, std::size_t{4096},
                                            std::size_t{65537}, kLoaderReadBytes}) {
            EventStore store;
            const LoadReport report = loadLogFiles(dir.str(), store, readBytes);
            EXPECT_EQ(report.bytes, content.size()) << readBytes;
            EXPECT_EQ(report.events, expected.size()) << readBytes;
            EXPECT_EQ(listed(store), expected) << readBytes;
        }
    }
}

TEST(LogLoader, FilesInListingOrderAndOnlyRegularLogFiles) {
    TempDir dir;
    writeFile(dir / "one.log", "1,User.Notice,h1,first of one\n2,User.Notice,h1,last of one\n");
    writeFile(dir / "two.log", "3,Kern.Error,h2,only of two");
    writeFile(dir / "upper.LOG", "4,Kern.Error,h,not read\n");
    writeFile(dir / "rotated.log.1", "5,Kern.Error,h,not read\n");
    std::filesystem::create_directory(dir / "folder.log");
    ASSERT_EQ(::mkfifo((dir / "pipe.log").c_str(), 0600), 0);

    EventStore store;
    const LoadReport report = loadLogFiles(dir.str(), store);
    EXPECT_EQ(report.files, 2u);

    // The directory's own order decides; the last line of the file listed last is on top.
    std::vector<Line> oldestFirst;
    const std::vector<std::string> names = listLogFiles(dir.str()).value();
    for (const std::string& name : names) {
        if (name == "one.log") {
            oldestFirst.push_back({"1", "User.Notice", "h1", "first of one"});
            oldestFirst.push_back({"2", "User.Notice", "h1", "last of one"});
        } else if (name == "two.log") {
            oldestFirst.push_back({"3", "Kern.Error", "h2", "only of two"});
        }
    }
    std::vector<Line> got = listed(store);
    std::reverse(got.begin(), got.end());
    EXPECT_EQ(got, oldestFirst);
    EXPECT_EQ(store.counters()[Severity::Notice], 2);
    EXPECT_EQ(store.counters()[Severity::Error], 1);
}

// With no settings file the levels are the defaults; with a file, a level it lacks is 0, not
// its default; a file that does not decode counts as none.
TEST(LogLoader, InitializeLogResetsTheCountersAndLoadsTheRunTimeSettings) {
    struct Case {
        const char* name;
        std::optional<std::vector<std::uint8_t>> settingsFile;
        SeverityLevels levels;
        std::string dateFormat;
        std::int64_t popupEvents;
        std::vector<std::string> popupDisplay;
    };
    const Dictionary settings{{"dateFormat", "yyyy-MM-dd HH:mm"},
                              {"severityError", 2},
                              {"popupEvents", 3},
                              {"popupDisplayArray", Array{Value("Error"), Value("Alert")}}};
    const Case cases[] = {
        {"no file", std::nullopt, kDefaultSeverityLevels, "", 0, {}},
        {"file",
         keyed_archive::encode(Value(settings)),
         SeverityLevels{{0, 0, 0, 2, 0, 0, 0, 0, 0}},
         "yyyy-MM-dd HH:mm",
         3,
         {"Error", "Alert"}},
        {"undecodable file",
         std::vector<std::uint8_t>{'b', 'p', 'l', 'i', 's', 't'},
         kDefaultSeverityLevels,
         "",
         0,
         {}},
    };
    for (const Case& c : cases) {
        TempDir dir;
        writeFile(dir / "a.log", "1700000000,Local7.Debug,h,m\n");
        if (c.settingsFile) {
            writeFile(dir / "Velmora.ini", *c.settingsFile);
        }
        EventStore store;
        store.counters()[Severity::Debug] = 5;
        RuntimeSettings runtime;
        runtime.popupSound = "left over";
        const LoadReport report = initializeLog(SettingsStore(dir.str()), store, runtime);
        EXPECT_EQ(report.events, 1u) << c.name;
        EXPECT_EQ(store.counters()[Severity::Debug], 1) << c.name;
        EXPECT_EQ(runtime.levels, c.levels) << c.name;
        EXPECT_EQ(runtime.oldDateFormat, c.dateFormat) << c.name;
        EXPECT_EQ(runtime.newDateFormat, c.dateFormat) << c.name;
        EXPECT_EQ(runtime.iPopupEvents, c.popupEvents) << c.name;
        EXPECT_EQ(runtime.popupDisplayArray, c.popupDisplay) << c.name;
        EXPECT_EQ(runtime.popupSound, "") << c.name;
    }
}

TEST(LogLoader, MissingDirectoryGivesAnEmptyList) {
    EventStore store;
    const LoadReport report = loadLogFiles("/nonexistent/velmora", store);
    EXPECT_EQ(report.files, 0u);
    EXPECT_TRUE(store.empty());
}

} // namespace
} // namespace velmora
