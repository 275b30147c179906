#include "core/reports/ReportExport.h"

#include <filesystem>

#include <gtest/gtest.h>

#include "core/reports/ReportTestSupport.h"
#include "support/TempDir.h"

namespace velmora {
namespace {

using test::readFile;
using test::TempDir;
using test::writeFile;

const std::array<std::string, 4> kTitles = {"Host", "Date", "Priority", "Message"};

class ReportExportTest : public ::testing::Test {
protected:
    TempDir dir;

    ReportTable hostTable() {
        writeFile(dir / "a.log", "1700000000,User.Notice,h1,one, two\n"
                                 "1700000001,Kern.Error,h2,three\n"
                                 "1700000002,User.Notice,h1,four\n");
        return ReportTable(test::buildReport(dir.str(), ReportGrouping::Host));
    }
};

TEST_F(ReportExportTest, WritesTheRowsAsTheyStandWithoutQuoting) {
    ReportTable table = hostTable();
    table.apply(table.changeOnClick(0));
    const std::string path = (dir / "out.csv").string();
    ASSERT_TRUE(exportReportTable(table, kTitles, exportSeparator(path), path));
    // A comma in a message makes more fields than the header has.
    EXPECT_EQ(readFile(path), "Host,Date,Priority,Message\n"
                              "h1,,,\n"
                              ",2023-11-14 22:13:20,User.Notice,one, two\n"
                              ",2023-11-14 22:13:22,User.Notice,four\n"
                              "h2,,,\n");

    const std::string text = (dir / "out.txt").string();
    ASSERT_TRUE(exportReportTable(ReportTable(), kTitles, exportSeparator(text), text));
    EXPECT_EQ(readFile(text), "Host\tDate\tPriority\tMessage\n");
}

TEST_F(ReportExportTest, AFailedWriteLeavesTheOldFileAndNoLeftovers) {
    const ReportTable table = hostTable();
    const std::filesystem::path target = dir / "out.txt";
    writeFile(target, "old");
    // A directory where the temporary file's directory should be.
    EXPECT_FALSE(exportReportTable(table, kTitles, '\t', (dir / "out.txt/x.txt").string()));
    std::filesystem::create_directory(dir / "taken.txt");
    EXPECT_FALSE(exportReportTable(table, kTitles, '\t', (dir / "taken.txt").string()));
    EXPECT_EQ(readFile(target), "old");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path()), {}), 3);

    // The log rewritten under an open group: its rows would be written empty.
    ReportTable open = hostTable();
    open.apply(open.changeOnClick(0));
    writeFile(dir / "a.log", "1700000001,Kern.Error,h2,three\n");
    const Status written = exportReportTable(open, kTitles, '\t', target.string());
    ASSERT_FALSE(written);
    EXPECT_EQ(written.error().code, ErrorCode::Changed);
    EXPECT_EQ(readFile(target), "old");
}

} // namespace
} // namespace velmora
