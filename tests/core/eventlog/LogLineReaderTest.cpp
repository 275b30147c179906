#include "core/eventlog/LogLineReader.h"

#include <string>
#include <sys/stat.h>
#include <vector>

#include <gtest/gtest.h>

#include "support/TempDir.h"

namespace velmora {
namespace {

using namespace std::string_literals;

struct FieldsCase {
    const char* name;
    std::string piece;
    bool hasFields;
    std::string date, priority, host, message;
};

class ParseLogPiece : public testing::TestWithParam<FieldsCase> {};

TEST_P(ParseLogPiece, CutsFieldsAsStrtok) {
    const FieldsCase& c = GetParam();
    const std::optional<LogFields> fields = parseLogPiece(c.piece);
    ASSERT_EQ(fields.has_value(), c.hasFields);
    if (fields) {
        EXPECT_EQ(fields->date, c.date);
        EXPECT_EQ(fields->priority, c.priority);
        EXPECT_EQ(fields->host, c.host);
        EXPECT_EQ(fields->message, c.message);
    }
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Fields, ParseLogPiece, testing::Values(
    FieldsCase{"Plain", "1700000000,Local7.Debug,10.0.0.1,hello\n", true,
               "1700000000", "Local7.Debug", "10.0.0.1", "hello"},
    FieldsCase{"CommasStayInTheMessage", "1700000000,Local7.Debug,10.0.0.1,a, b, c\n", true,
               "1700000000", "Local7.Debug", "10.0.0.1", "a, b, c"},
    FieldsCase{"EmptyFieldCollapses", "1700000000,,10.0.0.1,text\n", false, "", "", "", ""},
    FieldsCase{"LeadingCommasAreSkipped", ",,1700000000,Local7.Debug,h,m\n", true,
               "1700000000", "Local7.Debug", "h", "m"},
    FieldsCase{"MessageKeepsCommasAfterTheHostSeparator", "1,a,b,,c\n", true, "1", "a", "b", ",c"},
    FieldsCase{"RunsAfterEachField", "1,,,a,,,b,,,c\n", true, "1", "a", "b", ",,c"},
    FieldsCase{"CrLfEnding", "1,a,b,msg\r\n", true, "1", "a", "b", "msg"},
    FieldsCase{"NoLineFeedAtTheEnd", "1,a,b,msg", true, "1", "a", "b", "msg"},
    FieldsCase{"MessageOnlySeparators", "1,a,b,\r\n", false, "", "", "", ""},
    FieldsCase{"ThreeFields", "1,a,b\n", false, "", "", "", ""},
    FieldsCase{"CrSkippedBeforeTheMessage", "1,a,b,\r,c\n", true, "1", "a", "b", ",c"},
    FieldsCase{"CrEndsEveryField", "1\ra\rb\rc\rd", true, "1", "a", "b", "c"},
    FieldsCase{"CrOnlyLinesKeepTheFirst", "1,a,b,m1\r2,a,b,m2\r", true, "1", "a", "b", "m1"},
    FieldsCase{"NulEndsTheMessage", "1,a,b,m\0sg\n"s, true, "1", "a", "b", "m"},
    FieldsCase{"NulRightAfterAField", "1,a\0,b,c,d\n"s, false, "", "", "", ""},
    FieldsCase{"NulAfterTheHost", "1,a,b\0,c\n"s, false, "", "", "", ""},
    FieldsCase{"NulFirst", "\0" "1,a,b,c\n"s, false, "", "", "", ""},
    FieldsCase{"OnlyALineFeed", "\n", false, "", "", "", ""},
    FieldsCase{"Empty", "", false, "", "", "", ""},
    FieldsCase{"MessageEndsAtAnInnerCr", "1,a,b,x\ry\n", true, "1", "a", "b", "x"},
    FieldsCase{"BytesThatAreNotUtf8", "1,\xFF\xFE,h\xC0,\x80\n", true, "1", "\xFF\xFE", "h\xC0", "\x80"}),
    [](const testing::TestParamInfo<FieldsCase>& param) { return std::string(param.param.name); });
// clang-format on

struct Piece {
    std::size_t offset;
    std::size_t size;
    bool operator==(const Piece&) const = default;
};

std::vector<Piece> piecesOf(std::string_view data) {
    std::vector<Piece> pieces;
    forEachPiece(data, [&](std::string_view piece) {
        pieces.push_back({static_cast<std::size_t>(piece.data() - data.data()), piece.size()});
    });
    return pieces;
}

std::vector<LogFields> eventsOf(std::string_view data) {
    std::vector<LogFields> events;
    forEachPiece(data, [&](std::string_view piece) {
        if (const std::optional<LogFields> fields = parseLogPiece(piece)) {
            events.push_back(*fields);
        }
    });
    return events;
}

TEST(ForEachPiece, CutsAtLineFeedsAndEvery1023Bytes) {
    struct Case {
        const char* name;
        std::string data;
        std::vector<Piece> pieces;
    };
    const std::vector<Case> cases = {
        {"empty", "", {}},
        {"one line", "abc\n", {{0, 4}}},
        {"last line without line feed", "a\nbc", {{0, 2}, {2, 2}}},
        {"empty lines", "\n\n", {{0, 1}, {1, 1}}},
        {"1023 bytes with the line feed", std::string(1022, 'x') + "\n", {{0, 1023}}},
        {"line feed alone in the second piece",
         std::string(1023, 'x') + "\n",
         {{0, 1023}, {1023, 1}}},
        {"1025 bytes", std::string(1024, 'x') + "\n", {{0, 1023}, {1023, 2}}},
        {"NUL does not end a piece", "a\0b\nc"s, {{0, 4}, {4, 1}}},
        {"CR does not end a piece", std::string(2000, '\r'), {{0, 1023}, {1023, 977}}},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(piecesOf(c.data), c.pieces) << c.name;
    }
}

TEST(ForEachPiece, LongLineGivesACutEventThenPiecesOfItsOwn) {
    const std::string head = "1700000000,Local7.Debug,host,";
    const std::string line = head + std::string(1500 - head.size() - 1, 'x') + "\n";
    const std::vector<LogFields> events = eventsOf(line);
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].message, std::string(1023 - head.size(), 'x'));

    // Three commas in the rest of the line make a spurious event of it.
    std::string withCommas = line;
    withCommas.replace(1100, 7, "a,b,c,d");
    const std::vector<LogFields> spurious = eventsOf(withCommas);
    ASSERT_EQ(spurious.size(), 2u);
    EXPECT_EQ(spurious[1].date, std::string(1100 - 1023, 'x') + "a");
    EXPECT_EQ(spurious[1].message, "d" + std::string(1500 - 1107 - 1, 'x'));
}

TEST(ForEachPiece, CrOnlyFileKeepsTheFirstLineOfEachPiece) {
    std::string data;
    for (int i = 0; data.size() < 3000; ++i) {
        data += "1700000000,Local7.Notice,10.0.0.1,m" + std::to_string(i) + "\r";
    }
    const std::vector<LogFields> events = eventsOf(data);
    ASSERT_EQ(events.size(), 3u);
    EXPECT_EQ(events[0].message, "m0");
    EXPECT_EQ(piecesOf(data).size(), 3u);
}

TEST(ForEachPiece, VisitorReturningFalseStops) {
    int visited = 0;
    forEachPiece("a\nb\nc\n", [&](std::string_view) { return ++visited < 2; });
    EXPECT_EQ(visited, 2);
}

TEST(ForEachCompletePiece, LeavesAnUnfinishedLastPieceForTheNextBytes) {
    struct Case {
        const char* name;
        std::string data;
        std::size_t consumed;
        std::size_t visited;
    };
    const std::vector<Case> cases = {
        {"ends with a line feed", "a\nb\n", 4, 2},
        {"unfinished line", "a\nbc", 2, 1},
        {"only an unfinished line", "abc", 0, 0},
        {"a full piece needs no line feed", std::string(1023, 'x') + "y", 1023, 1},
    };
    for (const Case& c : cases) {
        std::size_t visited = 0;
        EXPECT_EQ(forEachCompletePiece(c.data, [&](std::string_view) { ++visited; }), c.consumed)
            << c.name;
        EXPECT_EQ(visited, c.visited) << c.name;
    }
}

class LogLineReaderFile : public testing::Test {
protected:
    test::TempDir m_dir;
};

TEST_F(LogLineReaderFile, GivesPiecesWithTheirFileOffsets) {
    const std::string data = "1,a,b,c\n" + std::string(1500, 'x') + "\nlast";
    test::writeFile(m_dir / "x.log", data);
    Result<LogLineReader> reader = LogLineReader::open((m_dir / "x.log").string(), 16);
    ASSERT_TRUE(reader.ok());
    std::vector<Piece> pieces;
    const Status read = reader->forEachPiece([&](std::string_view piece, std::uint64_t offset) {
        EXPECT_EQ(piece, std::string_view(data).substr(offset, piece.size()));
        pieces.push_back({static_cast<std::size_t>(offset), piece.size()});
    });
    EXPECT_TRUE(read.ok());
    EXPECT_EQ(pieces, piecesOf(data));
}

TEST_F(LogLineReaderFile, VisitorReturningFalseStopsTheReading) {
    test::writeFile(m_dir / "x.log", "a\nb\nc\n");
    Result<LogLineReader> reader = LogLineReader::open((m_dir / "x.log").string(), 1);
    ASSERT_TRUE(reader.ok());
    std::vector<std::string> pieces;
    const Status read = reader->forEachPiece([&](std::string_view piece, std::uint64_t) {
        pieces.emplace_back(piece);
        return false;
    });
    EXPECT_TRUE(read.ok());
    EXPECT_EQ(pieces, std::vector<std::string>{"a\n"});
    // The file has been read: a second walk finds nothing more.
    EXPECT_TRUE(reader->forEachPiece([&](std::string_view, std::uint64_t) { ADD_FAILURE(); }).ok());
}

TEST_F(LogLineReaderFile, EntriesThatAreNotReadableFilesAreErrorValues) {
    std::filesystem::create_directory(m_dir / "dir.log");
    ASSERT_EQ(::mkfifo((m_dir / "fifo.log").c_str(), 0600), 0);
    struct Case {
        const char* name;
        ErrorCode code;
    };
    // A FIFO without a writer would block an ordinary open: it must fail at once.
    const std::vector<Case> cases = {
        {"missing.log", ErrorCode::NotFound},
        {"dir.log", ErrorCode::Unsupported},
        {"fifo.log", ErrorCode::Unsupported},
    };
    for (const Case& c : cases) {
        const std::string path = (m_dir / c.name).string();
        const Result<LogLineReader> reader = LogLineReader::open(path);
        ASSERT_FALSE(reader.ok()) << c.name;
        EXPECT_EQ(reader.error().code, c.code) << c.name;
        std::vector<char> bytes;
        const Status read = readFileInto(path, bytes);
        ASSERT_FALSE(read.ok()) << c.name;
        EXPECT_EQ(read.error().code, c.code) << c.name;
    }
}

TEST_F(LogLineReaderFile, ReadFileIntoReplacesTheBufferWithTheWholeFile) {
    std::string data(300000, '\0');
    for (std::size_t i = 0; i < data.size(); ++i) {
        data[i] = static_cast<char>(i * 7 % 251);
    }
    test::writeFile(m_dir / "x.log", data);
    test::writeFile(m_dir / "empty.log", "");
    std::vector<char> bytes = {'o', 'l', 'd'};
    ASSERT_TRUE(readFileInto((m_dir / "x.log").string(), bytes).ok());
    EXPECT_EQ(std::string_view(bytes.data(), bytes.size()), data);
    ASSERT_TRUE(readFileInto((m_dir / "empty.log").string(), bytes).ok());
    EXPECT_TRUE(bytes.empty());
}

} // namespace
} // namespace velmora
