#include "core/settings/SettingsStore.h"

#include <filesystem>
#include <sys/stat.h>

#include <gtest/gtest.h>

#include "core/archive/FirstArchive.h"
#include "core/archive/KeyedArchive.h"
#include "support/TempDir.h"

namespace velmora {
namespace {

using keyed_archive::decodeFirstDictionary;
using test::readBytes;
using test::TempDir;
using test::writeFile;

mode_t modeOf(const std::filesystem::path& path) {
    struct stat st {};
    ::stat(path.c_str(), &st);
    return st.st_mode & 07777;
}

Bytes emailCommand() {
    return keyed_archive::encode(Value(
        Dictionary{{"Settings", "email"},
                   {"Recipients", Array{Value("admin@example.com"), Value("ops@example.com")}},
                   {"Subject", "Kestrix Velmora - Test message"},
                   {"Body", "Date:now\r\nPriority:Local7.Debug\r\nHost:127.0.0.1\r\n"},
                   {"Html", false}}));
}

class SettingsStoreTest : public ::testing::Test {
protected:
    TempDir dir;
    SettingsStore store{dir.str()};
    const std::filesystem::path ini = dir / "Velmora.ini";
    const std::filesystem::path pipe = dir / "Velmora.set";
};

TEST(DataDirectory, CommandLineThenEnvironmentThenDefault) {
    EXPECT_EQ(resolveDataDirectory("/a", "/b"), "/a");
    EXPECT_EQ(resolveDataDirectory("", "/b"), "/b");
    EXPECT_EQ(resolveDataDirectory("", ""), "/var/lib/velmora");
    EXPECT_EQ(resolveDataDirectory("", nullptr), "/var/lib/velmora");
}

TEST_F(SettingsStoreTest, NoFileReadsAsNothing) {
    EXPECT_FALSE(store.readSettings().has_value());
    EXPECT_FALSE(store.readDictionary().has_value());
    EXPECT_EQ(store.loadDictionary().error().code, ErrorCode::NotFound);
}

TEST_F(SettingsStoreTest, SaveWithoutPipeWritesOnlyTheSettingsFileReadableByOwnerAndGroup) {
    const Dictionary settings{{"dateFormat", "yyyy-MM-dd HH:mm:ss"}, {"popupEvents", 10}};
    ASSERT_TRUE(store.saveDictionary(settings).ok());
    EXPECT_FALSE(std::filesystem::exists(pipe)); // the console never creates the pipe
    EXPECT_EQ(modeOf(ini), 0640u);
    EXPECT_EQ(store.readDictionary(), settings);
    // Nothing but the settings file is left behind (no temporary file).
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path()), {}), 1);
}

TEST_F(SettingsStoreTest, ExistingFileKeepsItsMode) {
    writeFile(ini, "old");
    ::chmod(ini.c_str(), 0644);
    ASSERT_TRUE(store.saveDictionary(Dictionary{{"hostsDisplay", true}}).ok());
    EXPECT_EQ(modeOf(ini), 0644u);
}

TEST_F(SettingsStoreTest, SaveWritesTheReloadCommandIntoAnExistingPipe) {
    writeFile(pipe, "");
    ASSERT_TRUE(store.saveDictionary(Dictionary{{"popupEvents", 5}}).ok());
    const Bytes written = readBytes(pipe);
    EXPECT_EQ(written, reloadCommand());
    EXPECT_EQ(keyed_archive::decodeDictionary(written).value(), (Dictionary{{"Settings", "read"}}));
}

TEST_F(SettingsStoreTest, ShorterCommandOverALongerOneLeavesTheTail) {
    writeFile(pipe, "");
    const Bytes email = emailCommand();
    ASSERT_TRUE(store.setPipe(email).ok());
    ASSERT_TRUE(store.saveDictionary(Dictionary{}).ok());

    const Bytes written = readBytes(pipe);
    const Bytes reload = reloadCommand();
    ASSERT_LT(reload.size(), email.size());
    ASSERT_EQ(written.size(), email.size()); // not truncated
    EXPECT_TRUE(std::equal(reload.begin(), reload.end(), written.begin()));
    EXPECT_TRUE(std::equal(written.begin() + static_cast<std::ptrdiff_t>(reload.size()),
                           written.end(),
                           email.begin() + static_cast<std::ptrdiff_t>(reload.size())));
    EXPECT_EQ(decodeFirstDictionary(written).value(), (Dictionary{{"Settings", "read"}}));
}

TEST_F(SettingsStoreTest, FailedSettingsWriteStillSendsTheReloadCommand) {
    // A directory in the settings file's place makes the replacement fail, even for root.
    std::filesystem::create_directory(ini);
    writeFile(ini / "keep", "x");
    writeFile(pipe, "");
    EXPECT_FALSE(store.saveDictionary(Dictionary{{"popupEvents", 5}}).ok());
    EXPECT_EQ(readBytes(pipe), reloadCommand());
    EXPECT_TRUE(std::filesystem::is_directory(ini));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path()), {}), 2);
}

TEST_F(SettingsStoreTest, MissingDirectoryFailsQuietlyAndCreatesNothing) {
    const SettingsStore missing((dir / "absent").string());
    EXPECT_FALSE(missing.saveDictionary(Dictionary{}).ok());
    EXPECT_FALSE(std::filesystem::exists(dir / "absent"));
}

TEST_F(SettingsStoreTest, UndecodableFileReadsAsNoSettingsAndIsLeftAlone) {
    const std::string garbage = "bplist00 this is not an archive";
    writeFile(ini, garbage);
    EXPECT_FALSE(store.readDictionary().has_value());
    EXPECT_EQ(store.loadDictionary().error().code, ErrorCode::Corrupt);
    EXPECT_EQ(test::readFile(ini), garbage);
}

TEST_F(SettingsStoreTest, PipeThatIsADirectoryIsAnErrorNotACrash) {
    std::filesystem::create_directory(pipe);
    EXPECT_FALSE(store.setPipe(reloadCommand()).ok());
    EXPECT_TRUE(store.saveDictionary(Dictionary{}).ok());
}

} // namespace
} // namespace velmora
