// The fast reader against the plain fgets + strtok reading, on random byte streams made to hit
// the cases where a hand-written reader goes wrong: lines around the 1,023-byte piece size,
// CR-only and CR LF endings, NUL bytes, runs of separators, missing fields, bytes that are not
// UTF-8, empty files and a last line without its line feed.

#include <array>
#include <cstdint>
#include <random>
#include <sstream>
#include <string>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "core/eventlog/FgetsReference.h"
#include "core/eventlog/LogLineReader.h"

namespace velmora {
namespace {

using test::PieceRecord;

constexpr int kStreams = 10000;

PieceRecord recordOf(std::string_view piece, std::uint64_t offset) {
    PieceRecord record;
    record.offset = offset;
    record.size = piece.size();
    if (const std::optional<LogFields> fields = parseLogPiece(piece)) {
        record.hasFields = true;
        record.date = fields->date;
        record.priority = fields->priority;
        record.host = fields->host;
        record.message = fields->message;
    }
    return record;
}

std::vector<PieceRecord> readInMemory(std::string_view data) {
    std::vector<PieceRecord> records;
    forEachPiece(data, [&](std::string_view piece) {
        records.push_back(recordOf(piece, static_cast<std::uint64_t>(piece.data() - data.data())));
    });
    return records;
}

std::vector<PieceRecord> readStreaming(const std::string& path, std::size_t blockBytes) {
    std::vector<PieceRecord> records;
    Result<LogLineReader> reader = LogLineReader::open(path, blockBytes);
    if (!reader) {
        ADD_FAILURE() << reader.error().message;
        return records;
    }
    const Status read = reader->forEachPiece([&](std::string_view piece, std::uint64_t offset) {
        records.push_back(recordOf(piece, offset));
    });
    EXPECT_TRUE(read.ok());
    return records;
}

std::string describe(const PieceRecord& r) {
    std::ostringstream out;
    out << "piece @" << r.offset << " +" << r.size;
    if (r.hasFields) {
        out << " [" << r.date << "|" << r.priority << "|" << r.host << "|" << r.message << "]";
    }
    return out.str();
}

// Empty when both readings are the same, else where they first part.
std::string firstDifference(const std::vector<PieceRecord>& expected,
                            const std::vector<PieceRecord>& actual) {
    for (std::size_t i = 0; i < std::min(expected.size(), actual.size()); ++i) {
        if (!(expected[i] == actual[i])) {
            return "piece " + std::to_string(i) + ": expected " + describe(expected[i]) + ", got " +
                   describe(actual[i]);
        }
    }
    if (expected.size() != actual.size()) {
        return "expected " + std::to_string(expected.size()) + " pieces, got " +
               std::to_string(actual.size());
    }
    return {};
}

// Random log-like byte streams, weighted towards the hard cases.
class StreamMaker {
public:
    explicit StreamMaker(std::uint64_t seed)
        : m_random(seed) {}

    std::string next() {
        std::string stream;
        if (chance(2)) {
            return stream;
        }
        m_ending = chance(6) ? "\r" : chance(15) ? "\r\n" : "\n";
        const std::size_t lines = below(12);
        for (std::size_t i = 0; i < lines; ++i) {
            appendLine(stream);
        }
        if (chance(30) && !stream.empty() && stream.back() == '\n') {
            stream.pop_back();
        }
        return stream;
    }

private:
    std::mt19937_64 m_random;
    std::string_view m_ending = "\n";

    std::uint64_t below(std::uint64_t n) { return m_random() % n; }
    bool chance(std::uint64_t percent) { return below(100) < percent; }

    // Line lengths around the piece size make the piece boundaries fall on every byte of the
    // line's end: just before, on and after its CR and LF.
    std::size_t lineLength() {
        const std::uint64_t kind = below(100);
        if (kind < 72) {
            return below(90);
        }
        if (kind < 92) {
            return 1018 + below(12);
        }
        if (kind < 96) {
            return 2040 + below(12);
        }
        return 1100 + below(3500);
    }

    void appendLine(std::string& stream) {
        const std::size_t length = lineLength();
        std::string line;
        if (chance(60)) {
            line = chance(50) ? "1700000000,Local7.Debug,10.0.0.1," : "1,,a,,,b,";
        }
        while (line.size() < length) {
            appendToken(line);
        }
        line.resize(length);
        stream += line;
        stream += m_ending;
    }

    void appendToken(std::string& line) {
        static constexpr std::array<std::string_view, 8> kUtf8 = {
            "\xC3\xA9", "\xE2\x86\x92", "\xE4\xB8\xAD",     "\xF0\x9F\x98\x80", // valid
            "\xC0\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xE2\x86",         // not
        };
        static constexpr std::string_view kSeparators = ",,,,\r\n";
        const std::uint64_t kind = below(100);
        if (kind < 55) {
            line.append(1 + below(12), static_cast<char>('a' + below(26)));
        } else if (kind < 82) {
            for (std::uint64_t n = 1 + below(3); n > 0; --n) {
                line += kSeparators[below(kSeparators.size())];
            }
        } else if (kind < 86) {
            line += '\0';
        } else if (kind < 92) {
            line += static_cast<char>(0x80 + below(128));
        } else {
            line += kUtf8[below(kUtf8.size())];
        }
    }
};

TEST(LogReaderReference, InMemorySplitterReadsAsFgetsAndStrtok) {
    StreamMaker streams(20231114);
    for (int i = 0; i < kStreams; ++i) {
        const std::string stream = streams.next();
        const std::string difference =
            firstDifference(test::readWithFgets(stream), readInMemory(stream));
        ASSERT_EQ(difference, "") << "stream " << i << " of " << stream.size() << " bytes";
    }
}

TEST(LogReaderReference, FileReaderReadsAsFgetsAndStrtokAtEveryBlockSize) {
    // A file in memory, opened again by its /proc path: ten thousand files on disk would make
    // this test wait for the disk.
    const int memoryFile = ::memfd_create("stream.log", MFD_CLOEXEC);
    ASSERT_GE(memoryFile, 0);
    const std::string path = "/proc/self/fd/" + std::to_string(memoryFile);
    // Tiny blocks carry an unfinished piece across many reads; 1023 to 1025 put the block end
    // on the piece size. A read of one byte per system call is slow, so the tiny sizes take
    // every n-th stream only.
    struct BlockSize {
        std::size_t bytes;
        int everyNth;
    };
    constexpr std::array<BlockSize, 7> kBlockSizes = {{{1, 25},
                                                       {7, 5},
                                                       {1023, 1},
                                                       {1024, 1},
                                                       {1025, 1},
                                                       {4096, 1},
                                                       {LogLineReader::kDefaultBlockBytes, 1}}};
    StreamMaker streams(1700000000);
    for (int i = 0; i < kStreams; ++i) {
        const std::string stream = streams.next();
        ASSERT_EQ(::ftruncate(memoryFile, 0), 0);
        ASSERT_EQ(::pwrite(memoryFile, stream.data(), stream.size(), 0),
                  static_cast<ssize_t>(stream.size()));
        const std::vector<PieceRecord> expected = test::readWithFgets(stream);
        for (const BlockSize blockSize : kBlockSizes) {
            if (i % blockSize.everyNth != 0) {
                continue;
            }
            const std::string difference =
                firstDifference(expected, readStreaming(path, blockSize.bytes));
            ASSERT_EQ(difference, "") << "stream " << i << " of " << stream.size()
                                      << " bytes, blocks of " << blockSize.bytes;
        }
    }
    ::close(memoryFile);
}

} // namespace
} // namespace velmora
