#include "core/eventlog/Utf8.h"

#include <array>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <unicode/ustring.h>

namespace velmora {
namespace {

using namespace std::string_literals;

const std::string kFffd = "\xEF\xBF\xBD";

std::string fffd(int n) {
    std::string s;
    for (int i = 0; i < n; ++i) {
        s += kFffd;
    }
    return s;
}

struct Utf8Case {
    const char* name;
    std::string bytes;
    bool valid;
    std::string lenient;
    std::size_t utf16;
};

TEST(Utf8, ValidityLenientDecodingAndUtf16Length) {
    const std::string ascii16(16, 'a');
    // clang-format off
    const std::vector<Utf8Case> cases = {
        {"empty", "", true, "", 0},
        {"ascii", "abc", true, "abc", 3},
        {"NUL is a character", "a\0b"s, true, "a\0b"s, 3},
        {"two bytes", "\xC3\xA9", true, "\xC3\xA9", 1},
        {"three bytes", "\xE2\x86\x92", true, "\xE2\x86\x92", 1},
        {"CJK", "\xE4\xB8\xAD", true, "\xE4\xB8\xAD", 1},
        {"astral", "a\xF0\x9F\x98\x80" "b", true, "a\xF0\x9F\x98\x80" "b", 4},
        {"last character", "\xF4\x8F\xBF\xBF", true, "\xF4\x8F\xBF\xBF", 2},
        {"last before surrogates", "\xED\x9F\xBF", true, "\xED\x9F\xBF", 1},
        {"first after surrogates", "\xEE\x80\x80", true, "\xEE\x80\x80", 1},
        {"overlong two bytes", "\xC0\xAF", false, fffd(2), 2},
        {"overlong C1", "\xC1\xBF", false, fffd(2), 2},
        {"overlong three bytes", "\xE0\x80\xAF", false, fffd(3), 3},
        {"overlong four bytes", "\xF0\x80\x80\xAF", false, fffd(4), 4},
        {"high surrogate", "\xED\xA0\x80", false, fffd(3), 3},
        {"low surrogate", "\xED\xBF\xBF", false, fffd(3), 3},
        {"above U+10FFFF", "\xF4\x90\x80\x80", false, fffd(4), 4},
        {"F5 lead", "\xF5\x80\x80\x80", false, fffd(4), 4},
        {"FE FF", "\xFE\xFF", false, fffd(2), 2},
        {"lone continuation", "\x80", false, fffd(1), 1},
        {"truncated at the end", "a\xE2\x86", false, "a" + fffd(1), 2},
        {"truncated four bytes", "\xF0\x9F\x98" "A", false, fffd(1) + "A", 2},
        {"truncated then valid", "\xE2\x86\xC3\xA9", false, fffd(1) + "\xC3\xA9", 2},
        {"maximal subparts", "\x61\xF1\x80\x80\xE1\x80\xC2\x62\x80\x63\x80\xBF\x64", false,
         "a" + fffd(3) + "b" + fffd(1) + "c" + fffd(2) + "d", 10},
        {"invalid after an ASCII word", ascii16 + "\x80" "bbbbbbbbbb", false,
         ascii16 + fffd(1) + "bbbbbbbbbb", 27},
        {"ASCII words around valid characters", ascii16 + "\xC3\xA9" + ascii16 + "\xE2\x86\x92" + ascii16,
         true, ascii16 + "\xC3\xA9" + ascii16 + "\xE2\x86\x92" + ascii16, 50},
        {"invalid in the middle of a word", "abc\xFF" "defghijk", false, "abc" + fffd(1) + "defghijk", 12},
    };
    // clang-format on
    // Each case also inside ASCII, at every position of a 32-byte block and across two.
    for (const Utf8Case& c : cases) {
        for (std::size_t before = 0; before <= 33; ++before) {
            const std::string head(before, 'h');
            const std::string tail(33 - before, 't');
            const std::string bytes = before == 0 ? c.bytes : head + c.bytes + tail;
            const std::string lenient = before == 0 ? c.lenient : head + c.lenient + tail;
            const std::size_t extra = before == 0 ? 0 : 33;
            EXPECT_EQ(isValidUtf8(bytes), c.valid) << c.name << " after " << before;
            EXPECT_EQ(decodeLenient(bytes), lenient) << c.name << " after " << before;
            EXPECT_EQ(utf16Length(bytes), c.utf16 + extra) << c.name << " after " << before;
        }
    }
}

// ICU converts with one U+FFFD per maximal subpart too: it must agree with us on any bytes.
std::u16string icuLenient(const std::string& bytes) {
    std::u16string text(bytes.size() + 1, u'\0');
    int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strFromUTF8WithSub(text.data(), static_cast<int32_t>(text.size()), &length, bytes.data(),
                         static_cast<int32_t>(bytes.size()), 0xFFFD, nullptr, &status);
    EXPECT_TRUE(U_SUCCESS(status));
    text.resize(static_cast<std::size_t>(length));
    return text;
}

std::u16string icuFromValid(const std::string& text) {
    std::u16string units(text.size() + 1, u'\0');
    int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strFromUTF8(units.data(), static_cast<int32_t>(units.size()), &length, text.data(),
                  static_cast<int32_t>(text.size()), &status);
    EXPECT_TRUE(U_SUCCESS(status));
    units.resize(static_cast<std::size_t>(length));
    return units;
}

bool icuAcceptsAsValid(const std::string& bytes) {
    UErrorCode status = U_ZERO_ERROR;
    int32_t length = 0;
    u_strFromUTF8(nullptr, 0, &length, bytes.data(), static_cast<int32_t>(bytes.size()), &status);
    return status == U_BUFFER_OVERFLOW_ERROR || U_SUCCESS(status);
}

void appendCodePoint(std::string& out, std::uint32_t c) {
    if (c < 0x80) {
        out += static_cast<char>(c);
    } else if (c < 0x800) {
        out += static_cast<char>(0xC0 | (c >> 6));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        out += static_cast<char>(0xE0 | (c >> 12));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (c >> 18));
        out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    }
}

// Text of ASCII runs and characters of every length, with now and then a byte from the edges
// of the lead and continuation ranges; long enough to cross several 16-byte blocks.
std::string randomText(std::mt19937_64& random) {
    static const std::string edges = "\x7F\x80\x8F\x90\x9F\xA0\xBF\xC0\xC1\xC2\xDF\xE0\xE1\xEC"
                                     "\xED\xEE\xEF\xF0\xF1\xF3\xF4\xF5\xFF"s;
    static constexpr std::array<std::uint32_t, 8> kCodePoints = {0x80,   0x7FF,  0x800,   0xD7FF,
                                                                 0xE000, 0xFFFD, 0x10000, 0x10FFFF};
    const bool withErrors = random() % 2 == 0;
    std::string text;
    const std::size_t length = random() % 90;
    while (text.size() < length) {
        const std::uint64_t kind = random() % 10;
        if (kind < 4) {
            text.append(random() % 20, static_cast<char>('a' + random() % 26));
        } else if (kind < 6) {
            appendCodePoint(text, kCodePoints[random() % kCodePoints.size()]);
        } else if (kind < 9) {
            std::uint32_t c = 0x80 + static_cast<std::uint32_t>(random() % (0x110000 - 0x80));
            appendCodePoint(text, c >= 0xD800 && c < 0xE000 ? c + 0x800 : c);
        } else if (withErrors) {
            text += edges[random() % edges.size()];
        }
    }
    if (withErrors && random() % 4 == 0 && !text.empty()) {
        text.pop_back(); // may cut the last character
    }
    return text;
}

TEST(Utf8, PrefixEndsBetweenCharacters) {
    struct Case {
        std::string text;
        std::size_t maxBytes;
        std::string prefix;
    };
    const std::vector<Case> cases = {
        {"abc", 5, "abc"},
        {"abc", 3, "abc"},
        {"abc", 2, "ab"},
        {"abc", 0, ""},
        {"a\xC3\xA9"
         "b",
         2, "a"},
        {"a\xC3\xA9"
         "b",
         3, "a\xC3\xA9"},
        {"\xF0\x9F\x98\x80"
         "z",
         3, ""},
        // Bytes that are no character are cut where they stand.
        {"\x80\x80\x80", 2, ""},
        {"\xFF\xFF\xFF", 2, "\xFF\xFF"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(utf8Prefix(c.text, c.maxBytes), c.prefix) << c.text << " " << c.maxBytes;
    }
}

TEST(Utf8, AgreesWithIcuOnRandomText) {
    std::mt19937_64 random(42);
    int valid = 0;
    for (int i = 0; i < 30000; ++i) {
        const std::string bytes = randomText(random);
        ASSERT_EQ(isValidUtf8(bytes), icuAcceptsAsValid(bytes)) << "case " << i;
        valid += isValidUtf8(bytes) ? 1 : 0;
        const std::string lenient = decodeLenient(bytes);
        const std::u16string expected = icuLenient(bytes);
        ASSERT_EQ(icuFromValid(lenient), expected) << "case " << i;
        ASSERT_EQ(utf16Length(bytes), expected.size()) << "case " << i;
    }
    EXPECT_GT(valid, 10000); // both kinds are well represented
    EXPECT_LT(valid, 25000);
}

} // namespace
} // namespace velmora
