#include "core/eventlog/LiveNotification.h"

#include <string>

#include <gtest/gtest.h>

namespace velmora {
namespace {

using View = std::optional<std::string_view>;

Dictionary setWith(std::initializer_list<Dictionary::Entry> more) {
    Dictionary d{{"Type", "Set"},
                 {"Date", "1700000000"},
                 {"Priority", "Local7.Debug"},
                 {"Host", "10.0.0.1"},
                 {"Message", "hello"}};
    for (const auto& [key, value] : more) {
        d.set(key, value);
    }
    return d;
}

TEST(LiveNotification, OnlySetAndRemoveAreActedOn) {
    struct Case {
        Dictionary info;
        NotificationType type;
    };
    const Case cases[] = {
        {setWith({}), NotificationType::Set},
        {setWith({{"Type", "Remove"}}), NotificationType::Remove},
        {setWith({{"Type", "set"}}), NotificationType::Other},
        {setWith({{"Type", "Set "}}), NotificationType::Other},
        {setWith({{"Type", ""}}), NotificationType::Other},
        {setWith({{"Type", 1}}), NotificationType::Other},
        {setWith({{"Type", Array{Value("Set")}}}), NotificationType::Other},
        {Dictionary{{"Date", "1700000000"}, {"Priority", "Local7.Debug"}}, NotificationType::Other},
        {Dictionary{}, NotificationType::Other},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(readLiveNotification(c.info).type, c.type);
    }
}

TEST(LiveNotification, TheRecordIsTheUserInformationLessType) {
    const Dictionary info = setWith({{"Facility", 23}, {"Tags", Array{Value("a"), Value(2)}}});
    const LiveNotification n = readLiveNotification(info);
    EXPECT_EQ(n.fields.date, View("1700000000"));
    EXPECT_EQ(n.fields.priority, View("Local7.Debug"));
    EXPECT_EQ(n.fields.host, View("10.0.0.1"));
    EXPECT_EQ(n.fields.message, View("hello"));
    EXPECT_EQ(n.extras, (Dictionary{{"Facility", 23}, {"Tags", Array{Value("a"), Value(2)}}}));
}

TEST(LiveNotification, FieldsThatAreNoTextsAreAbsent) {
    Dictionary info{{"Type", "Remove"}, {"Date", 1700000000}, {"Host", ""}, {"Message", true}};
    const LiveNotification n = readLiveNotification(info);
    EXPECT_EQ(n.type, NotificationType::Remove);
    EXPECT_EQ(n.fields.date, std::nullopt);
    EXPECT_EQ(n.fields.priority, std::nullopt);
    EXPECT_EQ(n.fields.host, View(""));
    EXPECT_EQ(n.fields.message, std::nullopt);
    EXPECT_TRUE(n.extras.empty());
}

TEST(LiveNotification, HugeTextsAreKeptWhole) {
    const std::string huge(8 << 20, 'x');
    const Dictionary info = setWith({{"Message", huge}, {huge, huge}});
    const LiveNotification n = readLiveNotification(info);
    EXPECT_EQ(n.fields.message->size(), huge.size());
    EXPECT_EQ(n.extras.string(huge).size(), huge.size());
}

} // namespace
} // namespace velmora
