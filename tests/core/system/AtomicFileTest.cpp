#include "core/system/AtomicFile.h"

#include <filesystem>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "core/system/AtomicFileWriter.h"
#include "support/TempDir.h"

namespace velmora {
namespace {

using test::readFile;
using test::TempDir;
using test::writeFile;

std::span<const std::uint8_t> bytesOf(std::string_view text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

mode_t modeOf(const std::filesystem::path& path) {
    struct stat st {};
    ::stat(path.c_str(), &st);
    return st.st_mode & 07777;
}

class AtomicFileTest : public ::testing::Test {
protected:
    TempDir dir;
    const std::filesystem::path file = dir / "out.txt";

    // Only the target is left in the directory: no temporary file stays behind.
    void expectOnlyTarget() const {
        int entries = 0;
        for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(dir.path())) {
            ++entries;
        }
        EXPECT_EQ(entries, std::filesystem::exists(file) ? 1 : 0);
    }
};

TEST_F(AtomicFileTest, NewFilesTakeTheAskedModeAndExistingOnesKeepTheirs) {
    const mode_t oldMask = ::umask(077);
    ASSERT_TRUE(replaceFileAtomically(file.string(), bytesOf("a"), NewFileMode::UserDefault));
    EXPECT_EQ(modeOf(file), 0600u);
    std::filesystem::remove(file);
    // The settings file: its owner and the data directory's group, whatever the umask.
    constexpr gid_t kGroup = 4242;
    const bool mayChangeGroup =
        ::chown(file.parent_path().c_str(), static_cast<uid_t>(-1), kGroup) == 0;
    ASSERT_TRUE(replaceFileAtomically(file.string(), bytesOf("a"), NewFileMode::OwnerAndGroup));
    EXPECT_EQ(modeOf(file), 0640u);
    struct stat status {};
    ::stat(file.c_str(), &status);
    EXPECT_TRUE(!mayChangeGroup || status.st_gid == kGroup);
    ::umask(oldMask);

    ::chmod(file.c_str(), 0644);
    ASSERT_TRUE(replaceFileAtomically(file.string(), bytesOf("bb"), NewFileMode::OwnerAndGroup));
    EXPECT_EQ(modeOf(file), 0644u);
    EXPECT_EQ(readFile(file), "bb");
    expectOnlyTarget();
}

TEST_F(AtomicFileTest, AFailedReplaceLeavesTheOldFileAndNoLeftovers) {
    writeFile(file, "old content");
    // A directory cannot be renamed over by a file: the write succeeds, the replace fails.
    const std::filesystem::path directory = dir / "taken";
    std::filesystem::create_directory(directory);
    const Status intoDirectory =
        replaceFileAtomically(directory.string(), bytesOf("new"), NewFileMode::UserDefault);
    ASSERT_FALSE(intoDirectory);
    EXPECT_EQ(intoDirectory.error().code, ErrorCode::Io);
    EXPECT_TRUE(std::filesystem::is_directory(directory));

    // A path under a regular file cannot even hold the temporary file.
    const Status underFile =
        replaceFileAtomically((file / "x").string(), bytesOf("new"), NewFileMode::UserDefault);
    ASSERT_FALSE(underFile);
    EXPECT_EQ(readFile(file), "old content");

    std::filesystem::remove(directory);
    expectOnlyTarget();
}

TEST_F(AtomicFileTest, AWriterReplacesOnlyOnCommit) {
    writeFile(file, "old content");
    {
        Result<AtomicFileWriter> dropped =
            AtomicFileWriter::open(file.string(), NewFileMode::UserDefault);
        ASSERT_TRUE(dropped);
        ASSERT_TRUE(dropped->write("never "));
        ASSERT_TRUE(dropped->write("committed"));
    }
    EXPECT_EQ(readFile(file), "old content");
    expectOnlyTarget();

    Result<AtomicFileWriter> writer =
        AtomicFileWriter::open(file.string(), NewFileMode::UserDefault);
    ASSERT_TRUE(writer);
    ASSERT_TRUE(writer->write("new "));
    ASSERT_TRUE(writer->write(""));
    ASSERT_TRUE(writer->write("content"));
    EXPECT_EQ(readFile(file), "old content");
    ASSERT_TRUE(writer->commit());
    EXPECT_EQ(readFile(file), "new content");
    EXPECT_FALSE(writer->commit());
    expectOnlyTarget();
}

} // namespace
} // namespace velmora
