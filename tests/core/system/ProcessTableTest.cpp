#include "core/system/ProcessTable.h"

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/TempDir.h"

namespace velmora {
namespace {

using test::TempDir;
using test::writeFile;

// A process table as the kernel lays it out: a directory per process id with its comm file.
class FakeProcTest : public ::testing::Test {
protected:
    TempDir proc;

    void addProcess(const std::string& entry, std::string_view comm) {
        std::filesystem::create_directories(proc / entry);
        writeFile(proc / entry / "comm", comm);
    }
};

TEST_F(FakeProcTest, NamesCompareExactly) {
    addProcess("1", "systemd\n");
    addProcess("42", "VelmoraSrvX\n");
    addProcess("77", "velmorasrv\n");
    addProcess("4194304", "kworker/0:1-ev\n");
    addProcess("900", "bash"); // no line feed: still the whole name

    struct Lookup {
        const char* name;
        bool running;
    };
    for (const Lookup& lookup : std::vector<Lookup>{
             {"systemd", true},
             {"VelmoraSrvX", true},
             {"kworker/0:1-ev", true},
             {"bash", true},
             {"VelmoraSrv", false}, // only a longer name and another case run
             {"VelmoraSrvX\n", false},
             {"system", false},
             {"systemd ", false},
             {"", false},
         }) {
        EXPECT_EQ(isProcessRunning(lookup.name, proc.str()), lookup.running) << lookup.name;
    }
}

TEST_F(FakeProcTest, OnlyProcessEntriesCount) {
    // Other entries of the table (self, net, sys, ...) and names that only start with digits are
    // not processes, whatever they hold.
    addProcess("self", "VelmoraSrv\n");
    addProcess("12a", "VelmoraSrv\n");
    EXPECT_FALSE(isProcessRunning("VelmoraSrv", proc.str()));

    addProcess("313", "VelmoraSrv\n");
    EXPECT_TRUE(isProcessRunning("VelmoraSrv", proc.str()));
}

TEST_F(FakeProcTest, ProcessesThatCannotBeReadAreSkipped) {
    // One that ended between the listing and the read, one whose comm is a directory, one
    // that is a plain file: the search goes on past them.
    std::filesystem::create_directories(proc / "10");
    std::filesystem::create_directories(proc / "11" / "comm");
    writeFile(proc / "12", "VelmoraSrv\n");
    addProcess("13", "");
    EXPECT_FALSE(isProcessRunning("VelmoraSrv", proc.str()));
    EXPECT_FALSE(isProcessRunning("", proc.str()));

    addProcess("14", "VelmoraSrv\n");
    EXPECT_TRUE(isProcessRunning("VelmoraSrv", proc.str()));
}

TEST_F(FakeProcTest, OverlongCommMatchesNothing) {
    const std::string longName(64, 'a');
    addProcess("5", longName + "\n");
    EXPECT_FALSE(isProcessRunning(longName, proc.str()));
    EXPECT_FALSE(isProcessRunning(longName.substr(0, 63), proc.str()));
}

TEST_F(FakeProcTest, UnreadableTableCountsAsStopped) {
    writeFile(proc / "file", "1\n");
    for (const std::filesystem::path& root :
         {proc / "missing", proc / "file", proc / "file" / "under-a-file"}) {
        EXPECT_FALSE(isProcessRunning("VelmoraSrv", root.string())) << root;
    }
}

TEST(ProcessTableTest, FindsThisProcessInTheRealTable) {
    std::string comm;
    std::getline(std::ifstream("/proc/self/comm"), comm);
    ASSERT_FALSE(comm.empty());
    EXPECT_TRUE(isProcessRunning(comm));
    EXPECT_FALSE(isProcessRunning(comm + "X"));
}

} // namespace
} // namespace velmora
