#include "core/eventlog/LogDirectory.h"

#include <algorithm>
#include <dirent.h>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/eventlog/LogLineReader.h"
#include "support/TempDir.h"

namespace velmora {
namespace {

TEST(PathExtension, IsWhatFollowsTheLastDotThatDoesNotStartTheName) {
    struct Case {
        std::string_view name;
        std::string_view extension;
        std::string_view withoutExtension;
    };
    const std::vector<Case> cases = {
        {"x.log", "log", "x"},
        {"a.b.log", "log", "a.b"},
        {".log", "", ".log"},
        {"log", "", "log"},
        {"x.LOG", "LOG", "x"},
        {"x.log.1", "1", "x.log"},
        {"x.", "", "x"},
        {"..log", "log", "."},
        {"dir.log/x", "", "dir.log/x"},
        {"dir/.log", "", "dir/.log"},
        {"dir/a.log", "log", "dir/a"},
        {"", "", ""},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(pathExtension(c.name), c.extension) << c.name;
        EXPECT_EQ(withoutPathExtension(c.name), c.withoutExtension) << c.name;
    }
}

// The names of a directory as readdir gives them.
std::vector<std::string> rawListing(const std::string& directory) {
    std::vector<std::string> names;
    DIR* handle = ::opendir(directory.c_str());
    while (const dirent* entry = ::readdir(handle)) {
        names.emplace_back(entry->d_name);
    }
    ::closedir(handle);
    return names;
}

TEST(ListLogFiles, KeepsExactlyTheLogExtensionInDirectoryOrder) {
    const test::TempDir dir;
    std::set<std::string> logs = {"a.b.log", "..log", "x.log"};
    for (int i = 0; i < 40; ++i) {
        logs.insert("server-" + std::to_string(i * 7919 % 1000) + ".log");
    }
    for (const std::string& name : logs) {
        test::writeFile(dir / name, "1,a,b,c\n");
    }
    for (const char* other : {"x.LOG", "x.log.1", ".log", "log", "x.logs", "x.txt", "x.log."}) {
        test::writeFile(dir / other, "1,a,b,c\n");
    }

    const Result<std::vector<std::string>> listed = listLogFiles(dir.str());
    ASSERT_TRUE(listed.ok());
    std::vector<std::string> expected = rawListing(dir.str());
    std::erase_if(expected, [&](const std::string& name) { return !logs.contains(name); });
    EXPECT_EQ(*listed, expected);
}

TEST(ListLogFiles, ListsADirectoryNamedLikeALogFileWhichThenCannotBeRead) {
    const test::TempDir dir;
    std::filesystem::create_directory(dir / "x.log");
    const Result<std::vector<std::string>> listed = listLogFiles(dir.str());
    ASSERT_TRUE(listed.ok());
    EXPECT_EQ(*listed, std::vector<std::string>{"x.log"});
    EXPECT_FALSE(LogLineReader::open((dir / "x.log").string()).ok());
}

TEST(ListLogFiles, MissingOrUnlistableDirectoryIsAnError) {
    const test::TempDir dir;
    test::writeFile(dir / "file.log", "");
    const Result<std::vector<std::string>> missing = listLogFiles((dir / "missing").string());
    ASSERT_FALSE(missing.ok());
    EXPECT_EQ(missing.error().code, ErrorCode::NotFound);
    EXPECT_FALSE(listLogFiles((dir / "file.log").string()).ok());
}

TEST(ListLogFiles, EmptyDirectoryListsNothing) {
    const test::TempDir dir;
    const Result<std::vector<std::string>> listed = listLogFiles(dir.str());
    ASSERT_TRUE(listed.ok());
    EXPECT_TRUE(listed->empty());
}

} // namespace
} // namespace velmora
