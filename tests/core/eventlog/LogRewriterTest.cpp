#include "core/eventlog/LogRewriter.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <climits>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <string>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "core/eventlog/DeletionTableBuilder.h"
#include "core/eventlog/LogDirectory.h"
#include "support/TempDir.h"

namespace velmora {
namespace {

using namespace std::string_literals;
using test::readFile;
using test::TempDir;
using test::writeFile;

const std::string kDebugLine = "1700000000,Local7.Debug,10.0.0.1,disk full\n";
const std::string kOtherLine = "1700000001,Kern.Notice,10.0.0.2,link up\n";

SeverityCounters countersOf(std::initializer_list<std::pair<Severity, std::int64_t>> counts) {
    SeverityCounters counters;
    for (const auto& [severity, count] : counts) {
        counters[severity] = count;
    }
    return counters;
}

// Where two texts first differ, npos when they are equal: large texts are not printed whole.
std::size_t firstDifference(std::string_view a, std::string_view b) {
    const auto [inA, inB] = std::mismatch(a.begin(), a.end(), b.begin(), b.end());
    return inA == a.end() && inB == b.end() ? std::string::npos
                                            : static_cast<std::size_t>(inA - a.begin());
}

std::filesystem::file_time_type modified(const std::filesystem::path& path) {
    return std::filesystem::last_write_time(path);
}

// An old modification time, so that a file rewritten now shows it.
void backdate(const std::filesystem::path& path) {
    std::filesystem::last_write_time(path, std::filesystem::file_time_type::clock::now() -
                                               std::chrono::hours(48));
}

class LogRewriterTest : public ::testing::Test {
protected:
    TempDir dir;

    RewriteReport rewrite(DeletionTable& table) { return LogRewriter(dir.str()).rewrite(table); }

    // The log files in the order the directory lists them.
    std::vector<std::string> listing() const { return *listLogFiles(dir.str()); }
};

TEST_F(LogRewriterTest, TwoSelectedCopiesOfALineRemoveTwoOfThree) {
    writeFile(dir / "a.log", kDebugLine + kOtherLine + kDebugLine + kDebugLine);
    DeletionTable table;
    table.add(kDebugLine);
    table.add(kDebugLine);
    ASSERT_EQ(table.count(kDebugLine), "2");

    const RewriteReport report = rewrite(table);

    EXPECT_EQ(readFile(dir / "a.log"), kOtherLine + kDebugLine);
    EXPECT_EQ(table.count(kDebugLine), "0");
    EXPECT_EQ(report.deleted, countersOf({{Severity::Debug, 2}}));
    EXPECT_EQ(report.filesRewritten, 1u);
    EXPECT_TRUE(report.problems.empty());
}

TEST_F(LogRewriterTest, LinesThatAreNotTheSelectedLineStay) {
    const std::string longLine = "1700000000,Local7.Debug,h," + std::string(1100, 'x') + "\n";
    struct Case {
        const char* what;
        std::string content;
        std::function<void(DeletionTable&)> select;
    };
    const std::vector<Case> cases = {
        {"a line ended by CR LF", "1700000000,Local7.Debug,h,m\r\n",
         [](DeletionTable& t) { t.add("1700000000,Local7.Debug,h,m\n"); }},
        {"a line longer than 1023 bytes", longLine, [&](DeletionTable& t) { t.add(longLine); }},
        {"a fractional time stamp", "1700000000.25,Local7.Debug,h,m\n",
         [](DeletionTable& t) { t.add("1700000000,Local7.Debug,h,m\n"); }},
        {"an event shown without seconds", "1700000000,Local7.Debug,h,m\n",
         [](DeletionTable& t) {
             DeletionTableBuilder builder("yyyy-MM-dd HH:mm");
             builder.add(std::string("2023-11-14 22:13"), "Local7.Debug", "h", "m");
             t = std::move(builder.table());
         }},
        {"a line that is not UTF-8", "1700000000,Local7.Debug,h,caf\xe9\n",
         [](DeletionTable& t) { t.add("1700000000,Local7.Debug,h,caf\xef\xbf\xbd\n"); }},
        {"a count used up", "1700000000,Local7.Debug,h,m\n",
         [](DeletionTable& t) { t.setCount("1700000000,Local7.Debug,h,m\n", "0"); }},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        writeFile(dir / "a.log", c.content);
        backdate(dir / "a.log");
        const auto before = modified(dir / "a.log");
        DeletionTable table;
        c.select(table);

        const RewriteReport report = rewrite(table);

        EXPECT_EQ(readFile(dir / "a.log"), c.content);
        EXPECT_EQ(modified(dir / "a.log"), before);
        EXPECT_EQ(report.deleted, SeverityCounters());
        EXPECT_EQ(report.filesRewritten, 0u);
    }
}

TEST_F(LogRewriterTest, ALineInTwoFilesGoesOnlyAsOftenAsSelectedFromTheFileListedFirst) {
    writeFile(dir / "one.log", kOtherLine + kDebugLine);
    writeFile(dir / "two.log", kDebugLine + "1700000002,User.Info,h,café\n");
    backdate(dir / "one.log");
    backdate(dir / "two.log");
    std::vector<std::string> holders = listing();
    ASSERT_EQ(holders.size(), 2u);
    const std::string untouched = readFile(dir / holders[1]);
    const auto untouchedTime = modified(dir / holders[1]);

    DeletionTable table;
    table.add(kDebugLine);
    const RewriteReport report = rewrite(table);

    EXPECT_EQ(readFile(dir / holders[0]).find(kDebugLine), std::string::npos);
    EXPECT_EQ(readFile(dir / holders[1]), untouched);
    EXPECT_EQ(modified(dir / holders[1]), untouchedTime);
    EXPECT_EQ(report.deleted, countersOf({{Severity::Debug, 1}}));
    EXPECT_EQ(report.filesRewritten, 1u);
}

TEST_F(LogRewriterTest, AFileLeftWithNoLineIsRemoved) {
    writeFile(dir / "emptied.log", kOtherLine + kOtherLine);
    writeFile(dir / "other.log", kDebugLine);
    DeletionTable table;
    table.add(kOtherLine);
    table.add(kOtherLine);

    const RewriteReport report = rewrite(table);

    EXPECT_FALSE(std::filesystem::exists(dir / "emptied.log"));
    EXPECT_EQ(readFile(dir / "other.log"), kDebugLine);
    EXPECT_EQ(report.filesRemoved, 1u);
    EXPECT_EQ(report.deleted, countersOf({{Severity::Notice, 2}}));
}

TEST_F(LogRewriterTest, EachCutLineLowersTheSeverityItsSecondFieldShows) {
    struct Case {
        std::string line;
        Severity severity;
    };
    // The deletion rule: first word in severity order, "Information" for informational.
    const std::vector<Case> cases = {
        {"1700000000,Auth.Information,h,m\n", Severity::Informational},
        {"1700000000,Local0.Informational,h,m\n", Severity::Informational},
        {"1700000000,Kern.Error.Alert,h,m\n", Severity::Alert},
        {"1700000000,Foo.Bar,h,m\n", Severity::Unknown},
        {"1700000000,,Local7.Emergency,m\n", Severity::Emergency}, // the host is second
        {",,1700000000,Mail.Warning,h,m\n", Severity::Warning},
    };
    std::string content;
    DeletionTable table;
    SeverityCounters expected;
    for (const Case& c : cases) {
        content += c.line;
        table.add(c.line);
        ++expected[c.severity];
    }
    table.add("1700000000,Kern.Critical,h,not in any file\n");
    writeFile(dir / "a.log", content + kOtherLine);

    EXPECT_EQ(rewrite(table).deleted, expected);
    EXPECT_EQ(readFile(dir / "a.log"), kOtherLine);
}

TEST_F(LogRewriterTest, KeptLinesOfARewrittenFileAreCutToTheirUtf16Length) {
    const std::string accented = "1700000001,User.Info,h,café\n";            // é: 2 bytes, 1 unit
    const std::string astral = "1700000002,User.Info,h,\xf0\x9f\x98\x80!\n"; // 4 bytes, 2 units
    const std::string notUtf8 = "1700000003,User.Info,h,\xff\xfe\n";
    const std::string withNul = "1700000004,User.Info,h,a\0b\xc3\xa9\n"s;
    writeFile(dir / "a.log", accented + kDebugLine + astral + notUtf8 + withNul + kOtherLine);
    DeletionTable table;
    table.add(kDebugLine);

    rewrite(table);

    EXPECT_EQ(readFile(dir / "a.log"), accented.substr(0, accented.size() - 1) +
                                           astral.substr(0, astral.size() - 2) + notUtf8 + withNul +
                                           kOtherLine);
}

TEST_F(LogRewriterTest, APieceCutInsideACharacterIsKeptWhole) {
    // The 1,023-byte cut falls between the two bytes of the é: neither piece is text.
    const std::string prefix = "1700000001,User.Info,h,";
    const std::string longLine =
        prefix + std::string(1022 - prefix.size(), 'x') + "\xc3\xa9 and the rest\n";
    const std::string accented = "1700000002,User.Info,h,café\n";
    writeFile(dir / "a.log", longLine + kDebugLine + accented);
    DeletionTable table;
    table.add(kDebugLine);

    rewrite(table);

    EXPECT_EQ(readFile(dir / "a.log"), longLine + accented.substr(0, accented.size() - 1));
}

// Writes at or past the limit fail with EFBIG, even over existing bytes: a write that fails
// halfway through the file, as a failing disk would make it.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes) {
        ::getrlimit(RLIMIT_FSIZE, &m_saved);
        m_oldHandler = std::signal(SIGXFSZ, SIG_IGN);
        const rlimit limited{bytes, m_saved.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limited);
    }
    ~FileSizeLimit() {
        ::setrlimit(RLIMIT_FSIZE, &m_saved);
        std::signal(SIGXFSZ, m_oldHandler);
    }

private:
    rlimit m_saved{};
    void (*m_oldHandler)(int) = nullptr;
};

TEST_F(LogRewriterTest, AWriteThatFailsHalfwayLeavesTheFileAsItWas) {
    std::string content = kOtherLine + kDebugLine;
    for (int i = 0; i < 2000; ++i) {
        content += "1700000100,User.Notice,host-" + std::to_string(i) + ",kept line\n";
    }
    writeFile(dir / "a.log", content);
    DeletionTable table;
    table.add(kDebugLine);

    RewriteReport report;
    {
        const FileSizeLimit limit(16 * 1024);
        report = rewrite(table);
    }

    EXPECT_EQ(readFile(dir / "a.log"), content);
    ASSERT_EQ(report.problems.size(), 1u);
    EXPECT_NE(report.problems[0].message.find("put back as it was"), std::string::npos)
        << report.problems[0].message;
    // The line was matched: its count is used up and its event has left the list.
    EXPECT_EQ(table.count(kDebugLine), "0");
    EXPECT_EQ(report.deleted, countersOf({{Severity::Debug, 1}}));
}

TEST_F(LogRewriterTest, EntriesThatAreNoRegularFilesArePassedOver) {
    std::filesystem::create_directory(dir / "folder.log");
    ASSERT_EQ(::mkfifo((dir / "pipe.log").c_str(), 0600), 0);
    writeFile(dir / "a.log", kDebugLine + kOtherLine);
    DeletionTable table;
    table.add(kDebugLine);

    const RewriteReport report = rewrite(table);

    EXPECT_EQ(readFile(dir / "a.log"), kOtherLine);
    EXPECT_EQ(report.problems.size(), 2u);
}

// A writer as the server is one: it appends whole lines to the open file, here taking the
// file's advisory lock around each append.
class AppendingWriter {
public:
    explicit AppendingWriter(const std::filesystem::path& path)
        : m_fd(::open(path.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC))
        , m_thread([this] { run(); }) {}
    ~AppendingWriter() { stop(); }

    void waitForFirstLine() const { m_appended.wait(0); }
    int appended() const { return m_appended.load(); }
    // Lets a few more lines in, then stops.
    void stop() {
        if (m_thread.joinable()) {
            const int stopAt = m_appended.load() + 3;
            m_stopAt.store(stopAt);
            m_thread.join();
            ::close(m_fd);
        }
    }
    static std::string line(int i) {
        return "1700000200,Local7.Debug,writer,appended line " + std::to_string(i) + "\n";
    }

private:
    int m_fd;
    std::atomic<int> m_appended{0};
    std::atomic<int> m_stopAt{INT_MAX};
    std::thread m_thread;

    void run() {
        for (int i = 0; i < m_stopAt.load(); ++i) {
            const std::string text = line(i);
            ::flock(m_fd, LOCK_EX);
            const bool written =
                ::write(m_fd, text.data(), text.size()) == static_cast<ssize_t>(text.size());
            ::flock(m_fd, LOCK_UN);
            if (!written) {
                return;
            }
            m_appended.fetch_add(1);
            m_appended.notify_all();
        }
    }
};

TEST_F(LogRewriterTest, LinesAppendedThroughoutARewriteAreAllKept) {
    int appendedDuringRewrites = 0;
    for (int round = 0; round < 30; ++round) {
        SCOPED_TRACE(round);
        std::string content;
        std::string kept;
        DeletionTable table;
        for (int i = 0; i < 10000; ++i) {
            const std::string line =
                "1700000100,User.Notice,h,line " + std::to_string(i) + " of round\n";
            content += line;
            if (i % 7 == 0) {
                table.add(line);
            } else {
                kept += line;
            }
        }
        writeFile(dir / "a.log", content);

        AppendingWriter writer(dir / "a.log");
        writer.waitForFirstLine();
        const int before = writer.appended();
        const RewriteReport report = rewrite(table);
        appendedDuringRewrites += writer.appended() - before;
        writer.stop();

        std::string appended;
        for (int i = 0; i < writer.appended(); ++i) {
            appended += AppendingWriter::line(i);
        }
        // The writer's lines follow the kept ones: those appended before the file was read as
        // part of its content, the others carried behind it. Every one is there, once, in order.
        const std::string actual = readFile(dir / "a.log");
        ASSERT_EQ(firstDifference(actual, kept + appended), std::string::npos)
            << actual.size() << " bytes instead of " << kept.size() + appended.size();
        // Written anew each round: a file cut to nothing and written again is flushed to the
        // disk when it is closed, which would make the rounds slow.
        std::filesystem::remove(dir / "a.log");
        EXPECT_TRUE(report.problems.empty());
    }
    EXPECT_GT(appendedDuringRewrites, 0);
}

} // namespace
} // namespace velmora
