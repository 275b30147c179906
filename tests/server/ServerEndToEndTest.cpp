// The real velmora-server on a temporary data directory and a private session bus, fed over
// loopback UDP and TCP: filters applied through the console's reload command, hostile input,
// and the console's deletion racing the server's appends.

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <thread>

#include <gtest/gtest.h>

#include "core/eventlog/LogDirectory.h"
#include "core/eventlog/LogLineReader.h"
#include "core/eventlog/LogRewriter.h"
#include "core/settings/ServerStatus.h"
#include "core/settings/SettingsStore.h"
#include "core/system/FileHandles.h"
#include "core/system/ProcessTable.h"
#include "support/FilterRecord.h"
#include "support/ServerProcess.h"

namespace velmora {
namespace {

using namespace std::chrono_literals;
using test::filterRecord;
using test::ServerProcess;
using test::TempDir;

void sendUdp(const char* from, std::uint16_t port, std::string_view payload) {
    const int fd = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    ::inet_pton(AF_INET, from, &address.sin_addr);
    ::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address);
    ::inet_pton(AF_INET, "127.0.0.1", &address.sin_addr);
    address.sin_port = htons(port);
    ::sendto(fd, payload.data(), payload.size(), 0, reinterpret_cast<sockaddr*>(&address),
             sizeof address);
    ::close(fd);
}

int connectTcp(std::uint16_t port) {
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    ::inet_pton(AF_INET, "127.0.0.1", &address.sin_addr);
    EXPECT_EQ(::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    return fd;
}

// Every line of the data directory's log files, in listing order.
std::vector<std::string> logLines(const std::string& directory) {
    std::vector<std::string> lines;
    const Result<std::vector<std::string>> names = listLogFiles(directory);
    for (const std::string& name : names.value()) {
        forEachPiece(test::readFile(std::filesystem::path(directory) / name),
                     [&lines](std::string_view piece) { lines.emplace_back(piece); });
    }
    return lines;
}

// Waits, ten seconds at most, for at least `count` lines.
std::vector<std::string> waitForLines(const std::string& directory, std::size_t count) {
    std::vector<std::string> lines;
    for (int waited = 0; waited < 1000 && (lines = logLines(directory)).size() < count; ++waited) {
        std::this_thread::sleep_for(10ms);
    }
    return lines;
}

class ServerEndToEnd : public ::testing::Test {
protected:
    TempDir data;
    ServerProcess server{VELMORA_SERVER_EXECUTABLE, data.str()};
};

TEST_F(ServerEndToEnd, TheConsolesReloadCommandAppliesNewFiltersWithoutARestart) {
    const struct {
        Array include;
        Array exclude;
        const char* kept; // of the three messages below
    } cases[] = {
        {{}, {}, "abc"},
        {{filterRecord("127.0.0.2", "32", "Any", "Any", "*")}, {}, "b"},
        {{filterRecord("0.0.0.0", "0", "Local7", "Any", "*")}, {}, "a"},
        {{}, {filterRecord("0.0.0.0", "0", "Any", "Any", "*FAIL*")}, "ab"},
        {{filterRecord("0.0.0.0", "0", "Any", "Error", "*"),
          filterRecord("0.0.0.0", "0", "Any", "Critical", "*")},
         {filterRecord("127.0.0.2", "32", "Any", "Any", "*")},
         "c"},
        {{filterRecord("127.0.0.0", "8", "Any", "Any", "disk")}, {}, "a"},
        {{filterRecord("127.0.0.300", "8", "Any", "Any", "*")}, {}, ""},
        {{}, {}, "abc"},
    };
    const SettingsStore store(data.str());
    std::size_t total = 0;
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        SCOPED_TRACE(i);
        ASSERT_TRUE(store
                        .saveDictionary(Dictionary{{"includeFiltersArray", cases[i].include},
                                                   {"excludeFiltersArray", cases[i].exclude}})
                        .ok());
        ASSERT_TRUE(server.waitForJournal("the console's reload command", static_cast<int>(i) + 1));
        const std::string tag = "case" + std::to_string(i);
        sendUdp("127.0.0.1", server.port(), "<191>" + tag + " a: disk full");
        sendUdp("127.0.0.2", server.port(), "<11>" + tag + " b: link down");
        sendUdp("127.0.0.1", server.port(), "<34>" + tag + " c: login failed");
        total += std::strlen(cases[i].kept);
        std::this_thread::sleep_for(300ms);
        const std::vector<std::string> lines = waitForLines(data.str(), total);
        std::string kept;
        for (const std::string& line : lines) {
            if (line.find("," + tag + " ") != std::string::npos) {
                kept += line[line.find(tag) + tag.size() + 1];
            }
        }
        std::sort(kept.begin(), kept.end());
        EXPECT_EQ(kept, cases[i].kept);
    }
    EXPECT_NE(server.journal().find("include filter \"f\" matches nothing: the IP \"127.0.0.300\""),
              std::string::npos);
    EXPECT_TRUE(isProcessRunning(kServerProcessName)); // what the Home page looks for
    EXPECT_EQ(server.stop(), 0);
}

TEST_F(ServerEndToEnd, HostileInputNeverWritesABrokenLine) {
    using namespace std::string_literals;
    const std::string hostile[] = {"\xFF\xFE\x00\x01 binary"s,
                                   std::string(65000, 'x'),
                                   "no priority at all",
                                   "<999>x",
                                   "<13>nul\0inside"s,
                                   "<13>cr\r\nlf\ninside",
                                   "<13>\xC0\xAF\xED\xA0\x80",
                                   ",,,",
                                   "<13>1 - - -",
                                   std::string(60000, '\n') + "end"};
    const int tcp = connectTcp(server.port());
    for (const std::string& payload : hostile) {
        sendUdp("127.0.0.1", server.port(), payload);
        ASSERT_TRUE(writeAll(tcp, std::to_string(payload.size()) + " " + payload));
    }
    ::close(tcp);
    const std::vector<std::string> lines = waitForLines(data.str(), 2 * std::size(hostile));
    EXPECT_EQ(lines.size(), 2 * std::size(hostile));
    for (const std::string& line : lines) {
        EXPECT_LE(line.size(), 1023u);
        EXPECT_EQ(line.back(), '\n');
        EXPECT_EQ(std::count(line.begin(), line.end(), '\n'), 1);
        EXPECT_TRUE(parseLogPiece(line).has_value()) << line;
    }
}

// The console deletes lines while a sender streams over TCP: after 100 deletions every line
// sent is in the file, but the deleted ones, in the order sent.
TEST_F(ServerEndToEnd, ConsoleDeletionsWhileTheServerAppendsLoseNoLine) {
    std::atomic<bool> stop = false;
    std::atomic<int> sent = 0;
    std::thread sender([&] {
        const int fd = connectTcp(server.port());
        for (int i = 0; !stop; ++i) {
            ASSERT_TRUE(writeAll(fd, "<13>line " + std::to_string(i) + "\n"));
            sent = i + 1;
            std::this_thread::sleep_for(100us);
        }
        ::close(fd);
    });
    std::vector<std::string> deleted;
    for (int race = 0; race < 100; ++race) {
        std::this_thread::sleep_for(2ms);
        const std::vector<std::string> lines = waitForLines(data.str(), deleted.empty() ? 1 : 0);
        DeletionTable table;
        for (std::size_t i = race % 5; i < lines.size(); i += 5) {
            table.add(lines[i]);
            deleted.push_back(lines[i]);
        }
        const RewriteReport report = LogRewriter(data.str()).rewrite(table);
        ASSERT_TRUE(report.problems.empty()) << report.problems.front().message;
    }
    stop = true;
    sender.join();

    const auto remaining = static_cast<std::size_t>(sent) - deleted.size();
    std::vector<std::string> lines = waitForLines(data.str(), remaining);
    ASSERT_EQ(lines.size(), remaining);
    std::sort(deleted.begin(), deleted.end());
    std::size_t next = 0;
    for (int i = 0; i < sent; ++i) {
        const std::string message = ",line " + std::to_string(i) + "\n";
        const bool wasDeleted = std::any_of(deleted.begin(), deleted.end(), [&](const auto& line) {
            return line.ends_with(message);
        });
        if (!wasDeleted) {
            ASSERT_LT(next, lines.size());
            EXPECT_TRUE(lines[next++].ends_with(message)) << i;
        }
    }
}

} // namespace
} // namespace velmora
