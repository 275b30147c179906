#include "core/archive/Value.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

// The readers every page uses: a missing key or one of another kind reads as 0, NO, "" or [].
TEST(DictionaryReaders, MissingKeyReadsAsZeroNoEmpty) {
    const Dictionary d;
    EXPECT_EQ(d.integer("severityEmergency"), 0);
    EXPECT_FALSE(d.boolean("hostsDisplay"));
    EXPECT_EQ(d.string("dateFormat"), "");
    EXPECT_TRUE(d.array("actionsArray").empty());
    EXPECT_TRUE(d.dictionary("runCommand").empty());
    EXPECT_FALSE(d.contains("severityEmergency"));
}

TEST(DictionaryReaders, NumbersReadAsNumberObjectsDo) {
    struct Case {
        Value value;
        std::int64_t integer;
        bool boolean;
    };
    const Case cases[] = {
        {Value(42), 42, true},
        {Value(std::int64_t{-7}), -7, true},
        {Value(true), 1, true},
        {Value(false), 0, false},
        {Value(2.9), 2, true},
        {Value(-2.9), -2, true},
        {Value(0.25), 0, true},
        {Value("  17 apples"), 17, true},
        {Value("-3"), -3, true},
        {Value("abc"), 0, false},
        {Value(""), 0, false},
        {Value("99999999999999999999"), INT64_MAX, true},
        {Value(Array{Value(1)}), 0, false},
    };
    for (const Case& c : cases) {
        const Dictionary d{{"k", c.value}};
        EXPECT_EQ(d.integer("k"), c.integer) << kindName(c.value.kind());
        EXPECT_EQ(d.boolean("k"), c.boolean) << kindName(c.value.kind());
    }
}

TEST(DictionaryReaders, WrongKindReadsAsEmpty) {
    const Dictionary d{{"s", Value(5)}, {"a", Value("x")}, {"d", Value(Array{})}};
    EXPECT_EQ(d.string("s"), "");
    EXPECT_TRUE(d.array("a").empty());
    EXPECT_TRUE(d.dictionary("d").empty());
}

TEST(Dictionary, SetKeepsFirstInsertionOrderAndReplacesInPlace) {
    Dictionary d;
    d.set("Settings", "email");
    d.set("Recipients", Array{Value("a@b")});
    d.set("Settings", "read");
    ASSERT_EQ(d.size(), 2u);
    EXPECT_EQ(d.begin()->first, "Settings");
    EXPECT_EQ(d.string("Settings"), "read");
    EXPECT_TRUE(d.erase("Settings"));
    EXPECT_FALSE(d.erase("Settings"));
    EXPECT_EQ(d.begin()->first, "Recipients");
}

TEST(Dictionary, EqualityIgnoresOrderButNotKindOrValue) {
    const Dictionary a{{"Name", "x"}, {"Mask", "0"}};
    const Dictionary b{{"Mask", "0"}, {"Name", "x"}};
    EXPECT_EQ(a, b);
    EXPECT_NE(a, (Dictionary{{"Name", "x"}, {"Mask", Value(0)}}));
    EXPECT_NE(a, (Dictionary{{"Name", "x"}}));
    // A boolean and an integer of the same numeric value are different values.
    EXPECT_NE(Value(true), Value(1));
}

} // namespace
} // namespace velmora
