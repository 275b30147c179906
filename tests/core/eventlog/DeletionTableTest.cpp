#include "core/eventlog/DeletionTable.h"

#include <algorithm>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/eventlog/DeletionTableBuilder.h"

namespace velmora {
namespace {

using namespace std::string_literals;

const std::string kLine = "1700000000,Local7.Debug,h,m\n";

TEST(DeletionTable, EachSelectionOfALineRaisesItsCountByOne) {
    DeletionTable table;
    for (int i = 0; i < 12; ++i) {
        table.add(kLine);
    }
    EXPECT_EQ(table.size(), 1u);
    EXPECT_EQ(table.count(kLine), "12");
    EXPECT_TRUE(table.take(kLine));
    EXPECT_EQ(table.count(kLine), "11");
    EXPECT_FALSE(table.take("1700000000,Local7.Debug,h,M\n"));
}

TEST(DeletionTable, CountsAreReadAsDecimalText) {
    struct Case {
        std::string count;
        int takes; // of at most five
        std::string left;
    };
    const std::vector<Case> cases = {
        {"2", 2, "0"},   {" 3", 3, "0"},    {"+1", 1, "0"},
        {"1x", 1, "0"},  {"abc", 0, "abc"}, {"", 0, ""},
        {"-1", 0, "-1"}, {"0", 0, "0"},     {"99999999999999999999", 5, "9223372036854775802"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.count);
        DeletionTable table;
        table.setCount(kLine, c.count);
        int takes = 0;
        while (takes < 5 && table.take(kLine)) {
            ++takes;
        }
        EXPECT_EQ(takes, c.takes);
        EXPECT_EQ(table.count(kLine), c.left);
        EXPECT_EQ(table.exhausted(), c.takes < 5);
    }
}

TEST(DeletionTable, OnlyTextIsEntered) {
    DeletionTable table;
    table.add("1700000000,Local7.Debug,h,caf\xe9\n");
    table.add("1700000000,Local7.Debug,h,a\0b\n"s);
    table.setCount("\xff\n", "3");
    EXPECT_TRUE(table.empty());
    EXPECT_TRUE(table.exhausted());
}

TEST(DeletionTable, AnEventsLineIsTheSameKeyAsItsText) {
    // Enough events, in batches, for the table to grow several times; every third one twice.
    std::vector<std::string> messages;
    for (int i = 0; i < 300; ++i) {
        messages.push_back("message " + std::to_string(i));
    }
    DeletionTable table;
    std::vector<DeletionTable::EventLine> batch;
    for (int i = 0; i < 400; ++i) {
        const int event = i < 300 ? i : (i - 300) * 3;
        batch.push_back({1700000000.0 + event, "Local7.Debug", event % 2 ? "h" : "g",
                         messages[static_cast<std::size_t>(event)]});
        if (batch.size() == DeletionTable::kBatch || i == 399) {
            table.addEvents(batch);
            batch.clear();
        }
    }
    table.add("1700000006,Local7.Debug,g,message 6\n");
    EXPECT_EQ(table.count("1700000006,Local7.Debug,g,message 6\n"), "3");
    EXPECT_EQ(table.count("1700000001,Local7.Debug,h,message 1\n"), "1");
    EXPECT_EQ(table.count("1700000001,Local7.Debug,g,message 1\n"), std::nullopt);
    std::vector<std::string_view> lines(DeletionTable::kBatch,
                                        "1700000006,Local7.Debug,g,message 6\n");
    lines[1] = "1700000006,Local7.Debug,g,message 6";
    std::vector<char> taken(lines.size());
    table.takeEach(lines, std::span(reinterpret_cast<bool*>(taken.data()), taken.size()));
    EXPECT_EQ(std::count(taken.begin(), taken.end(), 1), 3);
    EXPECT_EQ(taken[1], 0);
    EXPECT_FALSE(table.exhausted());
}

TEST(DeletionTableBuilder, MakesTheServersLineFromTheShownDate) {
    struct Case {
        const char* format;
        std::optional<std::string> shown;
        std::optional<std::string> line; // none: the event gives no line
    };
    // TZ=UTC. "%.0f" rounds half to even: .5 goes to the even second.
    const std::vector<Case> cases = {
        {"yyyy-MM-dd HH:mm:ss", "2023-11-14 22:13:20", "1700000000,P,H,a, b\n"},
        {"", "2023-11-14 22:13:20", "1700000000,P,H,a, b\n"},
        {"dd.MM.yyyy h:mm:ss AM/PM", "14.11.2023 10:13:20 PM", "1700000000,P,H,a, b\n"},
        {"yyyy-MM-dd HH:mm:ss.SSS", "2023-11-14 22:13:20.500", "1700000000,P,H,a, b\n"},
        {"yyyy-MM-dd HH:mm:ss.SSS", "2023-11-14 22:13:21.500", "1700000002,P,H,a, b\n"},
        {"yyyy-MM-dd HH:mm:ss.SSS", "2023-11-14 22:13:21.501", "1700000002,P,H,a, b\n"},
        {"HH:mm", "22:13", "79980,P,H,a, b\n"},
        {"yyyy-MM-dd HH:mm:ss", "1700000000", std::nullopt},
        {"yyyy-MM-dd HH:mm:ss", std::nullopt, std::nullopt},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.format) + " / " + c.shown.value_or("(none)"));
        DeletionTableBuilder builder(c.format);
        builder.add(c.shown, "P", "H", "a, b");
        if (c.line) {
            EXPECT_EQ(builder.table().count(*c.line), "1");
            EXPECT_EQ(builder.table().size(), 1u);
        } else {
            EXPECT_TRUE(builder.table().empty());
        }
    }
}

TEST(DeletionTableBuilder, EventsOfOneLineCountTogetherAndIncompleteOnesAreLeftOut) {
    DeletionTableBuilder builder("yyyy-MM-dd HH:mm:ss");
    const std::optional<std::string> date = "2023-11-14 22:13:20";
    builder.add(date, "Local7.Debug", "h", "m");
    builder.add(date, "Local7.Debug", "h", "m");
    builder.add(date, "Local7.Debug", "h", "other");
    builder.add(date, "Local7.Debug", "h", "m");
    builder.add(date, std::nullopt, "h", "m");
    builder.add(date, "Local7.Debug", "h", std::nullopt);
    builder.add(date, "", "h", "m");

    DeletionTable& table = builder.table();
    EXPECT_EQ(table.size(), 3u);
    EXPECT_EQ(table.count(kLine), "3");
    EXPECT_EQ(table.count("1700000000,Local7.Debug,h,other\n"), "1");
    EXPECT_EQ(table.count("1700000000,,h,m\n"), "1");
}

} // namespace
} // namespace velmora
