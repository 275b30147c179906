#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/archive/HandMadeArchive.h"
#include "core/archive/KeyedArchive.h"

namespace velmora {
namespace {

using test::ArchiveTop;
using test::Bytes;
using test::HandMadeArchive;

// The archive with its root at another UID than 1.
Bytes rootedAt(HandMadeArchive& archive, int uid) {
    ArchiveTop top;
    top.root = static_cast<std::uint16_t>(uid);
    return archive.bytes(top);
}

Bytes validArchive() {
    return keyed_archive::encode(Value(Dictionary{
        {"dateFormat", "yyyy-MM-dd"},
        {"severityError", 1},
        {"hostsDisplay", true},
        {"removalDebugUnits", std::int64_t{-3}},
        {"popupSound", "Glass – 2"},
        {"includeFiltersArray", Array{Value(Dictionary{{"filterName", "ssh"}})}},
        {"blob", Data{{1, 2, 3}}},
        {"when", Date{1.5}},
    }));
}

// An archive whose root is a chain of nested arrays ending in a string.
Bytes nestedArrays(int levels) {
    HandMadeArchive archive;
    const std::uint16_t arrayClass = archive.classNamed("NSArray");
    for (int i = 0; i < levels; ++i) {
        archive.array({static_cast<std::uint16_t>(arrayClass + i + 2)}, arrayClass);
    }
    archive.object(archive.plist.string("leaf"));
    return rootedAt(archive, arrayClass + 1);
}

TEST(KeyedArchiveErrors, TruncatedInputNeverDecodes) {
    const Bytes valid = validArchive();
    ASSERT_TRUE(keyed_archive::decode(valid));
    for (std::size_t length = 0; length < valid.size(); ++length) {
        const Result<Value> decoded =
            keyed_archive::decode(std::span<const std::uint8_t>(valid).first(length));
        ASSERT_FALSE(decoded) << length;
        EXPECT_EQ(decoded.error().code, ErrorCode::Corrupt) << length;
    }
    EXPECT_FALSE(keyed_archive::decode(Bytes{'b', 'p', 'l', 'i', 's', 't', '0', '0'}));
}

// Every single-bit change of a valid archive decodes to an error or to some value; under the
// sanitizers this also proves that no read leaves the buffer.
TEST(KeyedArchiveErrors, BitFlipsGiveErrorsOrValues) {
    const Bytes valid = validArchive();
    int errors = 0;
    for (std::size_t bit = 0; bit < valid.size() * 8; ++bit) {
        Bytes flipped = valid;
        flipped[bit / 8] ^= static_cast<std::uint8_t>(1u << (bit % 8));
        const Result<Value> decoded = keyed_archive::decode(flipped);
        errors += decoded ? 0 : 1;
        if (!decoded) {
            EXPECT_FALSE(decoded.error().message.empty());
        }
    }
    EXPECT_GT(errors, 0);
}

TEST(KeyedArchiveErrors, NestingUpToTheLimitOnly) {
    const Result<Value> deepest = keyed_archive::decode(nestedArrays(keyed_archive::kMaxDepth));
    ASSERT_TRUE(deepest) << deepest.error().message;
    const Result<Value> tooDeep = keyed_archive::decode(nestedArrays(keyed_archive::kMaxDepth + 1));
    ASSERT_FALSE(tooDeep);
    EXPECT_EQ(tooDeep.error().code, ErrorCode::Unsupported);
}

// Each array holds the next one twice: 60 levels stand for 2^60 strings.
TEST(KeyedArchiveErrors, ExponentialSharingIsCut) {
    HandMadeArchive archive;
    const std::uint16_t arrayClass = archive.classNamed("NSArray");
    const int levels = 60;
    for (int i = 0; i < levels; ++i) {
        const auto next = static_cast<std::uint16_t>(arrayClass + i + 2);
        archive.array({next, next}, arrayClass);
    }
    archive.object(archive.plist.string("leaf"));
    const auto start = std::chrono::steady_clock::now();
    const Result<Value> decoded = keyed_archive::decode(rootedAt(archive, arrayClass + 1));
    ASSERT_FALSE(decoded);
    EXPECT_EQ(decoded.error().code, ErrorCode::Unsupported);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
}

// Archives that break one rule each; built by hand around an NSArray at UID 1.
TEST(KeyedArchiveErrors, BrokenArchives) {
    enum Fault {
        UidPastObjects,
        SelfContaining,
        NilInCollection,
        ElementNotUid,
        UnknownClass,
        ClassWithoutName,
        WrongArchiver,
        WrongVersion,
        NoRoot,
        NilRoot,
        KeysAndValuesDiffer,
        KeyNotString,
        HugeInteger,
        NotAscii,
    };
    const struct {
        Fault fault;
        ErrorCode code;
    } cases[] = {
        {UidPastObjects, ErrorCode::Corrupt},
        {SelfContaining, ErrorCode::Corrupt},
        {NilInCollection, ErrorCode::Corrupt},
        {ElementNotUid, ErrorCode::Corrupt},
        {UnknownClass, ErrorCode::Unsupported},
        {ClassWithoutName, ErrorCode::Corrupt},
        {WrongArchiver, ErrorCode::Unsupported},
        {WrongVersion, ErrorCode::Unsupported},
        {NoRoot, ErrorCode::Corrupt},
        {NilRoot, ErrorCode::Unsupported},
        {KeysAndValuesDiffer, ErrorCode::Corrupt},
        {KeyNotString, ErrorCode::Unsupported},

        {HugeInteger, ErrorCode::Unsupported},
        {NotAscii, ErrorCode::Corrupt},
    };
    for (const auto& c : cases) {
        HandMadeArchive a;
        auto& p = a.plist;
        ArchiveTop top;
        const std::uint16_t arrayClass = 2;
        const std::uint16_t dictionaryClass = 3;
        const std::uint16_t string = 4;
        std::vector<std::uint16_t> elements{string};
        auto rootFields = [&](HandMadeArchive::Ref objects) {
            return p.fields({{"NS.objects", objects}, {"$class", a.uid(arrayClass)}});
        };
        HandMadeArchive::Ref root = 0;
        switch (c.fault) {
        case UidPastObjects:
            elements.push_back(9);
            break;
        case SelfContaining:
            root = p.fields({{"NS.keys", a.uids({string})},
                             {"NS.objects", a.uids({1})},
                             {"$class", a.uid(dictionaryClass)}});
            break;
        case NilInCollection:
            elements.push_back(0);
            break;
        case ElementNotUid:
            root = rootFields(p.array({p.string("inline")}));
            break;
        case UnknownClass:
            root = p.fields({{"NS.objects", a.uids(elements)}, {"$class", a.uid(5)}});
            break;
        case ClassWithoutName:
            root = p.fields({{"NS.objects", a.uids(elements)}, {"$class", a.uid(6)}});
            break;
        case WrongArchiver:
            top.archiver = "NSArchiver";
            break;
        case WrongVersion:
            top.version = 99;
            break;
        case NoRoot:
            top.rootKey = "$0";
            top.otherKey = "$1";
            break;
        case NilRoot:
            top.root = 0;
            break;
        case KeysAndValuesDiffer:
            root = p.fields({{"NS.keys", a.uids({string, string})},
                             {"NS.objects", a.uids({string})},
                             {"$class", a.uid(dictionaryClass)}});
            break;
        case KeyNotString:
            root = p.fields({{"NS.keys", a.uids({7})},
                             {"NS.objects", a.uids({string})},
                             {"$class", a.uid(dictionaryClass)}});
            break;
        case HugeInteger:
            elements.push_back(8);
            break;
        case NotAscii:
            elements.push_back(9);
            break;
        }
        a.object(root ? root : rootFields(a.uids(elements)));
        a.classNamed("NSArray");
        a.classNamed("NSDictionary");
        a.object(p.string("text"));
        a.classNamed("NSAttributedString");
        a.object(p.fields({{"$classes", p.array({})}}));
        a.object(p.integer(7));
        // 2^64 as a 16-byte integer: unsigned and too large for 64 bits.
        a.object(p.add({0x14, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0}));
        if (c.fault == NotAscii) {
            a.object(p.add({0x52, 'a', 0xE9}));
        }
        const Result<Value> decoded = keyed_archive::decode(a.bytes(top));
        ASSERT_FALSE(decoded) << c.fault;
        EXPECT_EQ(decoded.error().code, c.code) << c.fault << ": " << decoded.error().message;
    }
}

TEST(KeyedArchiveErrors, PropertyListLayerFaults) {
    Bytes valid = validArchive();
    const std::size_t trailer = valid.size() - 32;
    const struct {
        const char* name;
        std::size_t position;
        std::uint8_t value;
    } cases[] = {
        {"offset size 0", trailer + 6, 0},
        {"reference size 9", trailer + 7, 9},
        {"no objects", trailer + 15, 0},
        {"top past the objects", trailer + 23, 0xFF},
        {"offset table past the end", trailer + 30, 0xFF},
        {"bad magic", 7, '1'},
    };
    for (const auto& c : cases) {
        Bytes broken = valid;
        broken[c.position] = c.value;
        const Result<Value> decoded = keyed_archive::decode(broken);
        ASSERT_FALSE(decoded) << c.name;
        EXPECT_EQ(decoded.error().code, ErrorCode::Corrupt) << c.name;
    }
}

// Encodings the platform may write and our encoder never does.
TEST(KeyedArchiveDecode, PlainObjectsOfEveryWidth) {
    const struct {
        Bytes object;
        Value expected;
    } cases[] = {
        {{0x10, 0xFF}, Value(255)},
        {{0x11, 0xFF, 0xFF}, Value(65535)},
        {{0x12, 0x9C, 0x31, 0x40, 0x00}, Value(std::int64_t{2620473344})},
        {{0x13, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}, Value(-1)},
        {{0x14, 0, 0, 0, 0, 0, 0, 0, 0, 0x7F, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF},
         Value(std::numeric_limits<std::int64_t>::max())},
        {{0x14, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF,
          0xFF, 0xFE},
         Value(-2)},
        {{0x22, 0x3F, 0xC0, 0x00, 0x00}, Value(1.5)},
        {{0x09}, Value(true)},
        {{0x08}, Value(false)},
        {{0x33, 0x41, 0xC4, 0xE6, 0x99, 0x80, 0x00, 0x00, 0x00}, Value(Date{701313792.0})},
        {{0x62, 0xD8, 0x3D, 0xDE, 0x00}, Value("\xF0\x9F\x98\x80")},
        {{0x62, 0x00, 'o', 0xD8, 0x00}, Value("o\xEF\xBF\xBD")},
        {{0x42, 0xCA, 0xFE}, Value(Data{{0xCA, 0xFE}})},
    };
    for (const auto& c : cases) {
        HandMadeArchive archive;
        archive.object(archive.plist.add(c.object));
        const Result<Value> decoded = keyed_archive::decode(archive.bytes());
        ASSERT_TRUE(decoded) << kindName(c.expected.kind()) << ": " << decoded.error().message;
        EXPECT_EQ(*decoded, c.expected) << kindName(c.expected.kind());
    }
}

// A mutable string is an object with its text inline under NS.string; older systems put
// $objects second among the top-level keys.
TEST(KeyedArchiveDecode, MutableStringInAnArchiveOfTheOlderKeyOrder) {
    HandMadeArchive a;
    auto& p = a.plist;
    // 1 the dictionary, 2 its class, 3 the key, 4 the mutable string, 5 its class
    a.object(
        p.fields({{"NS.keys", a.uids({3})}, {"NS.objects", a.uids({4})}, {"$class", a.uid(2)}}));
    a.classNamed("NSMutableDictionary");
    a.object(p.string("dateFormat"));
    a.object(p.fields({{"NS.string", p.string("yyyy-MM-dd")}, {"$class", a.uid(5)}}));
    a.classNamed("NSMutableString");
    ArchiveTop top;
    top.objectsSecond = true;
    const Result<Dictionary> decoded = keyed_archive::decodeDictionary(a.bytes(top));
    ASSERT_TRUE(decoded) << decoded.error().message;
    EXPECT_EQ(*decoded, (Dictionary{{"dateFormat", "yyyy-MM-dd"}}));
}

TEST(KeyedArchiveDecode, RepeatedKeyKeepsFirstPlaceAndLastValue) {
    HandMadeArchive a;
    auto& p = a.plist;
    // 1 the dictionary, 2 its class, 3 and 4 keys, 5 to 7 values
    a.object(p.fields(
        {{"NS.keys", a.uids({3, 4, 3})}, {"NS.objects", a.uids({5, 6, 7})}, {"$class", a.uid(2)}}));
    a.classNamed("NSDictionary");
    a.object(p.string("k"));
    a.object(p.string("other"));
    a.object(p.integer(1));
    a.object(p.integer(2));
    a.object(p.integer(3));
    const Result<Dictionary> decoded = keyed_archive::decodeDictionary(a.bytes());
    ASSERT_TRUE(decoded) << decoded.error().message;
    ASSERT_EQ(decoded->size(), 2u);
    EXPECT_EQ(decoded->begin()->first, "k");
    EXPECT_EQ(decoded->integer("k"), 3);
    EXPECT_EQ(decoded->integer("other"), 2);
}

TEST(KeyedArchiveDecode, UrlsResolveAgainstTheirBase) {
    const struct {
        const char* base;
        const char* relative;
        const char* expected;
    } cases[] = {
        {nullptr, "https://example.com/a?b", "https://example.com/a?b"},
        {"https://example.com/dir/page.html?q=1", "other.html",
         "https://example.com/dir/other.html"},
        {"https://example.com/dir/page.html", "/top", "https://example.com/top"},
        {"https://example.com", "file", "https://example.com/file"},
        {"https://example.com/dir/", "mailto:x@example.com", "mailto:x@example.com"},
        {"file:///var/log/", "velmora.log", "file:///var/log/velmora.log"},
    };
    for (const auto& c : cases) {
        HandMadeArchive a;
        auto& p = a.plist;
        // 1 the URL, 2 its relative string, 3 the class, 4 the base URL, 5 the base string
        a.object(p.fields(
            {{"NS.base", a.uid(c.base ? 4 : 0)}, {"NS.relative", a.uid(2)}, {"$class", a.uid(3)}}));
        a.object(p.string(c.relative));
        a.classNamed("NSURL");
        a.object(
            p.fields({{"NS.base", a.uid(0)}, {"NS.relative", a.uid(5)}, {"$class", a.uid(3)}}));
        a.object(p.string(c.base ? c.base : ""));
        const Result<Value> decoded = keyed_archive::decode(a.bytes());
        ASSERT_TRUE(decoded) << c.relative << ": " << decoded.error().message;
        EXPECT_EQ(*decoded, Value(c.expected));
    }
}

} // namespace
} // namespace velmora
