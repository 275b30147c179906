#include "core/archive/KeyedArchive.h"

#include <cstdint>
#include <fstream>
#include <iterator>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/archive/BinaryPlistReader.h"

namespace velmora {
namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes fixture(const std::string& name) {
    std::ifstream in(std::string(VELMORA_TEST_DATA) + "/keyed-archives/" + name, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), {});
}

std::vector<std::string> keysOf(const Dictionary& dictionary) {
    std::vector<std::string> keys;
    for (const auto& entry : dictionary) {
        keys.push_back(entry.first);
    }
    return keys;
}

// Archives written by the platform itself, as their notes describe them.
TEST(KeyedArchiveFixtures, DictionaryOfStringsAndArray) {
    const Result<Dictionary> decoded =
        keyed_archive::decodeDictionary(fixture("found-dict-strings-int-array.plist"));
    ASSERT_TRUE(decoded) << decoded.error().message;
    EXPECT_EQ(*decoded, (Dictionary{{"Array key", Array{Value(1), Value(2), Value(3)}},
                                    {"First key", "First value"},
                                    {"Second key", "Second value"}}));
    EXPECT_EQ(keysOf(*decoded), (std::vector<std::string>{"Array key", "First key", "Second key"}));
}

TEST(KeyedArchiveFixtures, KeylessEncodeWithSharedStringAndBoolean) {
    const Result<Dictionary> decoded =
        keyed_archive::decodeDictionary(fixture("found-dict-with-mutablearray.bin"));
    ASSERT_TRUE(decoded) << decoded.error().message;
    // Value equality tells a boolean from the integer 1.
    EXPECT_EQ(*decoded,
              (Dictionary{{"int", 1},
                          {"string", "string"},
                          {"array", Array{Value(true), Value("Hello, World!"), Value(42)}}}));
}

TEST(KeyedArchiveFixtures, NestedDictionariesWithUrl) {
    const Result<Dictionary> decoded =
        keyed_archive::decodeDictionary(fixture("found-nested-dicts-with-url.plist"));
    ASSERT_TRUE(decoded) << decoded.error().message;
    const Dictionary levelTwo{{"level", 2},
                              {"levelPath", Array{Value("zero"), Value("one"), Value("two")}},
                              {"sampleUrl", "https://example.com/foo/bar?a=b#hash"}};
    const Dictionary levelOne{{"level", 1},
                              {"levelOneData", levelTwo},
                              {"levelPath", Array{Value("zero"), Value("one")}}};
    EXPECT_EQ(*decoded,
              (Dictionary{
                  {"level", 0}, {"levelZeroData", levelOne}, {"levelPath", Array{Value("zero")}}}));
}

TEST(KeyedArchiveFixtures, TopLevelPrimitivesByKey) {
    const Bytes bytes = fixture("found-top-level-primitives.bin");
    const Value expected[] = {Value(1),
                              Value(1),
                              Value(1.0),
                              Value(1.5),
                              Value(Data{{'a', 's', 'd', 'f', 'a', 's', 'd', 'f', 'a', 'd', 's',
                                          'f', 'a', 'd', 's', 'f'}}),
                              Value(true),
                              Value("Hello, World!"),
                              Value("Hello, World!"),
                              Value("Hello, World!"),
                              Value(false),
                              Value(false),
                              Value(42)};
    for (std::size_t i = 0; i < std::size(expected); ++i) {
        const std::string key = "$" + std::to_string(i);
        const Result<Value> decoded = keyed_archive::decode(bytes, key);
        ASSERT_TRUE(decoded) << key << ": " << decoded.error().message;
        EXPECT_EQ(*decoded, expected[i]) << key;
    }
    // Twelve top-level keys and none of them "root": there is no single root object.
    EXPECT_FALSE(keyed_archive::decode(bytes));
}

TEST(KeyedArchiveFixtures, RootsThatAreNotDictionariesAreRefused) {
    const struct {
        const char* file;
        ErrorCode code;
    } cases[] = {
        {"found-nil-root.plist", ErrorCode::Unsupported},
        {"found-mutable-attributed-string.archive", ErrorCode::Unsupported},
    };
    for (const auto& c : cases) {
        const Result<Dictionary> decoded = keyed_archive::decodeDictionary(fixture(c.file));
        ASSERT_FALSE(decoded) << c.file;
        EXPECT_EQ(decoded.error().code, c.code) << c.file;
    }
    const Result<Dictionary> arrayRoot =
        keyed_archive::decodeDictionary(keyed_archive::encode(Value(Array{Value(1)})));
    ASSERT_FALSE(arrayRoot);
    EXPECT_EQ(arrayRoot.error().code, ErrorCode::Invalid);
}

TEST(KeyedArchiveRoundTrip, EveryKindAsRootAndInsideCollections) {
    const std::int64_t int64Min = std::numeric_limits<std::int64_t>::min();
    const std::int64_t int64Max = std::numeric_limits<std::int64_t>::max();
    const Value values[] = {
        Value(""),
        Value("read"),
        Value("$null"),
        Value("Grüße, naïve café"),
        Value("日本語のログ"),
        Value("emoji 😀 and € sign"),
        Value("line\r\nbreak\ttab"),
        Value(0),
        Value(1),
        Value(255),
        Value(256),
        Value(65535),
        Value(65536),
        Value(std::int64_t{2147483647}),
        Value(std::int64_t{2147483648}),
        Value(std::int64_t{4294967295}),
        Value(std::int64_t{4294967296}),
        Value(-1),
        Value(-256),
        Value(int64Min),
        Value(int64Max),
        Value(true),
        Value(false),
        Value(1.5),
        Value(0.1),
        Value(-2.75e300),
        Value(0.0),
        Value(Data{}),
        Value(Data{{0x00, 0xFF, 0x10, 0x80}}),
        Value(Date{0}),
        Value(Date{721692800.25}),
        Value(Date{-1e9}),
        Value(Array{}),
        Value(Dictionary{}),
        Value(Array{Value(Array{}), Value(Dictionary{}), Value(Array{Value(Array{Value(1)})})}),
        Value(Dictionary{{"a", Dictionary{{"b", Dictionary{{"c", Array{Value("d")}}}}}}}),
    };
    for (const Value& value : values) {
        const Result<Value> root = keyed_archive::decode(keyed_archive::encode(value));
        ASSERT_TRUE(root) << kindName(value.kind()) << ": " << root.error().message;
        EXPECT_EQ(*root, value) << kindName(value.kind());
    }
    // All of them together, with equal strings shared and booleans beside integers 1 and 0.
    Dictionary all;
    Array list;
    for (std::size_t i = 0; i < std::size(values); ++i) {
        all.set("key " + std::to_string(i), values[i]);
        list.push_back(values[i]);
    }
    all.set("list", list);
    const Result<Dictionary> decoded = keyed_archive::decodeDictionary(keyed_archive::encode(all));
    ASSERT_TRUE(decoded) << decoded.error().message;
    EXPECT_EQ(*decoded, all);
    EXPECT_EQ(keysOf(*decoded), keysOf(all));
}

TEST(KeyedArchiveRoundTrip, KeysKeepInsertionOrder) {
    const Dictionary command{{"Settings", "email"},
                             {"Recipients", Array{Value("a@example.com")}},
                             {"Subject", "s"},
                             {"Body", "b"},
                             {"Html", false}};
    const Result<Dictionary> decoded =
        keyed_archive::decodeDictionary(keyed_archive::encode(command));
    ASSERT_TRUE(decoded) << decoded.error().message;
    EXPECT_EQ(keysOf(*decoded), keysOf(command));
}

// Beyond 255 objects UIDs and references take two bytes.
TEST(KeyedArchiveRoundTrip, ManyObjects) {
    Dictionary settings;
    Array records;
    for (int i = 0; i < 400; ++i) {
        settings.set("key" + std::to_string(i), "value " + std::to_string(i));
        records.push_back(Dictionary{{"name", "n" + std::to_string(i)}, {"pid", i}});
    }
    settings.set("records", records);
    const Result<Dictionary> decoded =
        keyed_archive::decodeDictionary(keyed_archive::encode(settings));
    ASSERT_TRUE(decoded) << decoded.error().message;
    EXPECT_EQ(*decoded, settings);
}

// libplist takes C strings: what it cannot carry is replaced rather than cut short.
TEST(KeyedArchiveEncode, IllFormedUtf8AndNulAreReplaced) {
    const std::string replacement = "\xEF\xBF\xBD";
    const struct {
        std::string text;
        std::string expected;
    } cases[] = {
        {std::string("a\xFF"
                     "b\xC3"),
         "a" + replacement + "b" + replacement},
        {std::string("before\0after", 12), "before" + replacement + "after"},
        {std::string("\0", 1), replacement},
        {std::string("\xC3\xA9\0", 3), "\xC3\xA9" + replacement},
    };
    for (const auto& c : cases) {
        const Result<Value> decoded = keyed_archive::decode(keyed_archive::encode(Value(c.text)));
        ASSERT_TRUE(decoded) << decoded.error().message;
        EXPECT_EQ(*decoded, Value(c.expected));
    }
}

// The bytes of a property-list object, as found in the encoded archive.
bool contains(const Bytes& haystack, const Bytes& needle) {
    return std::search(haystack.begin(), haystack.end(), needle.begin(), needle.end()) !=
           haystack.end();
}

TEST(KeyedArchiveEncode, IntegersTakeThePlatformsWidths) {
    const struct {
        std::int64_t value;
        Bytes object;
    } cases[] = {
        {200, {0x10, 0xC8}},
        {0xBEEF, {0x11, 0xBE, 0xEF}},
        {2147483648, {0x12, 0x80, 0x00, 0x00, 0x00}},
        {0x123456789A, {0x13, 0x00, 0x00, 0x00, 0x12, 0x34, 0x56, 0x78, 0x9A}},
        {-2, {0x13, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFE}},
    };
    for (const auto& c : cases) {
        EXPECT_TRUE(contains(keyed_archive::encode(Value(c.value)), c.object)) << c.value;
    }
}

TEST(KeyedArchiveEncode, TopLevelKeysComeInThePlatformsOrder) {
    const Bytes bytes = keyed_archive::encode(Value(Dictionary{{"Settings", "read"}}));
    const Result<BinaryPlistReader> plist = BinaryPlistReader::open(bytes);
    ASSERT_TRUE(plist);
    const Result<BinaryPlistReader::Object> top = plist->object(plist->topIndex());
    ASSERT_TRUE(top);
    ASSERT_EQ(top->count, 4u);
    const char* expected[] = {"$version", "$archiver", "$top", "$objects"};
    for (std::uint64_t i = 0; i < 4; ++i) {
        const Result<BinaryPlistReader::Object> key = plist->object(plist->element(*top, i));
        ASSERT_TRUE(key);
        EXPECT_TRUE(BinaryPlistReader::equals(*key, expected[i])) << expected[i];
    }
}

} // namespace
} // namespace velmora
