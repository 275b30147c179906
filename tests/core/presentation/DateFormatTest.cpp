#include "core/presentation/DateFormat.h"

#include <cmath>
#include <cstdlib>
#include <limits>

#include <gtest/gtest.h>

#include "core/presentation/DateFormatCache.h"

namespace velmora {
namespace {

// 2023-11-14 22:13:20 UTC. These tests run with TZ=UTC.
constexpr double kInstant = 1700000000;

// Writing an instant and reading the text back, on the patterns users write.
TEST(DateFormat, WritesAndReadsBack) {
    struct Case {
        const char* displayFormat;
        double instant;
        const char* text;
        double readBack;
    };
    const Case cases[] = {
        {"yyyy-MM-dd HH:mm:ss", kInstant, "2023-11-14 22:13:20", kInstant},
        {"yyyy-MM-dd HH:mm:ss", -1, "1969-12-31 23:59:59", -1},
        // The empty format: root short date and medium time.
        {"", kInstant, "2023-11-14 22:13:20", kInstant},
        // The marker is the day period, the same as writing "a".
        {"dd.MM.yyyy h:mm:ss AM/PM", kInstant, "14.11.2023 10:13:20 PM", kInstant},
        {"dd.MM.yyyy h:mm:ss a", kInstant, "14.11.2023 10:13:20 PM", kInstant},
        {"AM/PM hh:mm:ss AM/PM", 1699952705, "AM 09:05:05 AM", 32705},
        // Without seconds the seconds are gone for good.
        {"yyyy-MM-dd HH:mm", kInstant, "2023-11-14 22:13", 1699999980},
        // Root month and day names; the time of day reads back as midnight.
        {"d MMM yyyy", kInstant, "14 M11 2023", 1699920000},
        {"EEEE, d MMMM yyyy HH:mm:ss", kInstant, "Tue, 14 M11 2023 22:13:20", kInstant},
        {"yyyy-MM-dd'T'HH:mm:ss.SSS", kInstant + 0.5, "2023-11-14T22:13:20.500", kInstant + 0.5},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.displayFormat);
        const DateFormat format(c.displayFormat);
        ASSERT_TRUE(format.valid());
        EXPECT_EQ(format.format(c.instant), c.text);
        EXPECT_EQ(format.parse(c.text), c.readBack);
    }
}

TEST(DateFormat, ParsesOnlyWholeTextsOfItsFormat) {
    struct Case {
        const char* displayFormat;
        const char* text;
    };
    const Case cases[] = {
        {"yyyy-MM-dd HH:mm:ss", ""},
        {"yyyy-MM-dd HH:mm:ss", "2023-11-14 22:13:20 junk"},
        {"yyyy-MM-dd HH:mm:ss", "2023-11-14 22:13:20 "},
        {"yyyy-MM-dd HH:mm:ss", "2023-11-14 22:13"},
        {"yyyy-MM-dd HH:mm:ss", "2023-13-01 00:00:00"},
        {"yyyy-MM-dd HH:mm:ss", "2023-02-30 00:00:00"},
        {"yyyy-MM-dd HH:mm:ss", "2023-11-14 24:00:00"},
        {"yyyy-MM-dd HH:mm:ss", "1700000000"},
        {"yyyy-MM-dd HH:mm:ss", "14.11.2023 22:13:20"},
        {"", "2023-11-14 22:13"},
        {"", "garbage"},
        {"d MMM yyyy", "14 Nov 2023"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(DateFormat(c.displayFormat).parse(c.text), std::nullopt)
            << c.displayFormat << " / " << c.text;
    }
}

TEST(DateFormat, PatternWithUnknownLetterWritesAndReadsNothing) {
    const DateFormat format("yyyy-MM-dd P");
    EXPECT_FALSE(format.valid());
    EXPECT_EQ(format.format(kInstant), "");
    EXPECT_EQ(format.parse("2023-11-14 P"), std::nullopt);
}

TEST(DateFormat, NonFiniteInstantWritesNothing) {
    const DateFormat format("yyyy");
    EXPECT_EQ(format.format(std::numeric_limits<double>::infinity()), "");
    EXPECT_EQ(format.format(std::numeric_limits<double>::quiet_NaN()), "");
}

TEST(DateFormat, CopiesAreIndependent) {
    DateFormat copy("HH:mm");
    {
        const DateFormat original("yyyy-MM-dd HH:mm:ss");
        copy = original;
        EXPECT_EQ(original.parse("2023-11-14 22:13:20"), kInstant);
    }
    EXPECT_EQ(copy.displayFormat(), "yyyy-MM-dd HH:mm:ss");
    EXPECT_EQ(copy.format(kInstant), "2023-11-14 22:13:20");
    const DateFormat moved(std::move(copy));
    EXPECT_EQ(moved.parse("2023-11-14 22:13:20"), kInstant);
}

TEST(DateFormat, TimestampFromText) {
    struct Case {
        const char* text;
        double value;
    };
    const Case cases[] = {
        {"1700000000", 1700000000},
        {"1700000000.5", 1700000000.5},
        {" 12", 12},
        {"\t\n42", 42},
        {"abc", 0},
        {"", 0},
        {"-5", -5},
        {"+7", 7},
        {"1e3", 1000},
        {"-0.25e2x", -25},
        {"12abc", 12},
        {".5", 0.5},
        {"5.", 5},
        {"1e", 1},
        {"1,5", 1},
        {"0x10", 0},
        {"--5", 0},
        {"+-5", 0},
        {"inf", 0},
        {"nan", 0},
        {". 5", 0},
        {"1e-400", 0},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(timestampFromText(c.text), c.value) << '"' << c.text << '"';
    }
    EXPECT_EQ(timestampFromText("1e400"), std::numeric_limits<double>::infinity());
    EXPECT_EQ(timestampFromText("-1e400"), -std::numeric_limits<double>::infinity());
    EXPECT_EQ(timestampFromText("1000e306"), std::numeric_limits<double>::infinity());
    EXPECT_EQ(timestampFromText("0.001e-322"), 0);
}

TEST(DateFormat, DigitsOnly) {
    struct Case {
        const char* text;
        bool digitsOnly;
    };
    const Case cases[] = {
        {"", true},
        {"1700000000", true},
        {"\u0661\u0662\u0663", true}, // Arabic-Indic digits
        {"12\uff13", true},           // a fullwidth digit
        {"1700000000.5", false},
        {"-5", false},
        {" 12", false},
        {"2023-11-14 22:13:20", false},
        {"12\u00b2", false}, // a superscript is a number but no decimal digit
        {"12\xff", false},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(isDigitsOnly(c.text), c.digitsOnly) << '"' << c.text << '"';
    }
}

TEST(DateFormat, ConvertDate) {
    const DateFormat seconds("yyyy-MM-dd HH:mm:ss");
    const DateFormat minutes("yyyy-MM-dd HH:mm");
    const DateFormat twelveHour("dd.MM.yyyy h:mm:ss AM/PM");
    const DateFormat unused("yyyy");

    // A date equal to its format argument is the server's time stamp.
    EXPECT_EQ(convertDate("1700000000", "1700000000", unused, seconds), "2023-11-14 22:13:20");
    EXPECT_EQ(convertDate("1700000000.9", "1700000000.9", unused, seconds), "2023-11-14 22:13:20");
    EXPECT_EQ(convertDate("", "", unused, seconds), "1970-01-01 00:00:00");
    EXPECT_EQ(convertDate("junk", "junk", unused, seconds), "1970-01-01 00:00:00");

    // Otherwise it is display text in the old format.
    EXPECT_EQ(
        convertDate("14.11.2023 10:13:20 PM", "dd.MM.yyyy h:mm:ss AM/PM", twelveHour, seconds),
        "2023-11-14 22:13:20");
    EXPECT_EQ(convertDate("2023-11-14 22:13", "yyyy-MM-dd HH:mm", minutes, seconds),
              "2023-11-14 22:13:00");
    EXPECT_EQ(convertDate("2023-11-14 22:13:20", "yyyy-MM-dd HH:mm", minutes, seconds),
              std::nullopt);
    EXPECT_EQ(convertDate("1700000000", "yyyy-MM-dd HH:mm:ss", seconds, minutes), std::nullopt);
}

TEST(DateFormat, CacheBuildsEachFormatOnce) {
    DateFormatCache cache;
    DateFormatCache::Format& current = cache.get("yyyy-MM-dd HH:mm:ss");
    DateFormatCache::Format& old = cache.get("dd.MM.yyyy h:mm:ss AM/PM");
    EXPECT_EQ(&cache.get("yyyy-MM-dd HH:mm:ss"), &current);
    EXPECT_EQ(&cache.get("dd.MM.yyyy h:mm:ss AM/PM"), &old);
    EXPECT_EQ(old.reader.parse("14.11.2023 10:13:20 PM"), kInstant);

    // Formats used recently survive a stream of others.
    const char* others[] = {"HH:mm", "yyyy", "d MMM yyyy", "", "HH:mm"};
    for (const char* other : others) {
        EXPECT_EQ(cache.get(other).writer.displayFormat(), other);
        EXPECT_EQ(&cache.get("yyyy-MM-dd HH:mm:ss"), &current);
    }
    EXPECT_EQ(current.writer.format(kInstant), "2023-11-14 22:13:20");
}

// The zone is the process's: TZ as it stood when ICU first looked, or when the engine was told to
// look again. Formats keep the zone they were built in.
class ProcessTimeZone : public ::testing::Test {
protected:
    static void use(const char* zone) {
        setenv("TZ", zone, 1);
        reloadDefaultTimeZone();
    }
    void TearDown() override { use("UTC"); }
};

TEST_F(ProcessTimeZone, FormatsFollowTheZoneTheyWereBuiltIn) {
    const DateFormat utc("yyyy-MM-dd HH:mm:ss");
    use("Europe/Berlin");
    const DateFormat berlin("yyyy-MM-dd HH:mm:ss");

    EXPECT_EQ(utc.format(kInstant), "2023-11-14 22:13:20");
    EXPECT_EQ(berlin.format(kInstant), "2023-11-14 23:13:20");
    EXPECT_EQ(berlin.format(1690000000), "2023-07-22 06:26:40"); // summer time
    EXPECT_EQ(berlin.parse("2023-11-14 23:13:20"), kInstant);
    EXPECT_EQ(DateFormat("").format(kInstant), "2023-11-14 23:13:20");
    // A day-only format reads back as local midnight.
    EXPECT_EQ(DateFormat("yyyy-MM-dd").parse("2023-11-14"), 1699916400);
    // 02:30 on the spring-forward day does not exist there; strict parsing refuses it.
    EXPECT_EQ(berlin.parse("2023-03-26 02:30:00"), std::nullopt);

    use("UTC");
    EXPECT_EQ(DateFormat("yyyy-MM-dd HH:mm:ss").format(kInstant), "2023-11-14 22:13:20");
    EXPECT_EQ(berlin.format(kInstant), "2023-11-14 23:13:20");
}

} // namespace
} // namespace velmora
