#include "core/presentation/ExportText.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace velmora {
namespace {

TEST(ExportText, TheSeparatorFollowsTheExtensionExactly) {
    const std::vector<std::pair<std::string_view, char>> cases = {
        {"/home/a/events.txt", '\t'}, {"/home/a/events.csv", ','}, {"events.TXT", ','},
        {"events.txt.csv", ','},      {"notes.txt/events", ','},   {"events", ','},
        {"events.log", ','},
    };
    for (const auto& [path, separator] : cases) {
        EXPECT_EQ(ExportText::separatorFor(path), separator) << path;
    }
}

TEST(ExportText, ValuesAreWrittenAsTheyStand) {
    std::string out;
    const ExportText csv(',');
    csv.appendLine(std::vector<std::string_view>{"", "Date", "Message"}, out);
    csv.appendLine(std::vector<std::string_view>{"", "2023-11-14", "a, \"b\"\tc\nd"}, out);
    csv.appendLine(std::vector<std::string_view>{}, out);
    EXPECT_EQ(out, ",Date,Message\n,2023-11-14,a, \"b\"\tc\nd\n\n");
}

} // namespace
} // namespace velmora
