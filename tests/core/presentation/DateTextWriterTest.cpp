// The fast date writer against ICU itself: every text must be the one DateFormat writes, in
// zones whose offsets are not whole minutes or change inside a minute, across their
// transitions, on formats with and without seconds, fractions and day periods. The reader
// likewise: every instant the one DateFormat reads.

#include "core/presentation/DateTextWriter.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/presentation/DateTextReader.h"

namespace velmora {
namespace {

class ZoneScope {
public:
    explicit ZoneScope(const char* zone) {
        ::setenv("TZ", zone, 1);
        reloadDefaultTimeZone();
    }
    ~ZoneScope() {
        ::setenv("TZ", "UTC", 1);
        reloadDefaultTimeZone();
    }
};

// How many instants: each second this far around a transition, so many at random near one and
// so many anywhere.
struct InstantCounts {
    int window = 130;
    int near = 300;
    int anywhere = 800;
};

// Instants around the zone's transitions and elsewhere, in time order and shuffled, whole and
// with fractions close to either end of a second.
std::vector<double> instantsAround(const std::vector<double>& transitions, std::mt19937_64& random,
                                   InstantCounts counts = {}) {
    std::vector<double> instants = {0,
                                    -0.25,
                                    0.9995,
                                    -1e-7,
                                    1e12,
                                    1e13,
                                    -1e13,
                                    std::numeric_limits<double>::infinity(),
                                    std::numeric_limits<double>::quiet_NaN()};
    std::uniform_real_distribution<double> anywhere(-4e9, 6e9);
    std::uniform_int_distribution<int> near(-5400, 5400);
    std::uniform_int_distribution<int> fraction(0, 5);
    const double fractions[] = {0, 0.5, 0.001, 0.998, 0.9989, 0.99999};
    for (const double transition : transitions) {
        for (int i = -counts.window; i <= counts.window; ++i) {
            instants.push_back(transition + i);
        }
        for (int i = 0; i < counts.near; ++i) {
            instants.push_back(transition + near(random) + fractions[fraction(random)]);
        }
    }
    for (int i = 0; i < counts.anywhere; ++i) {
        instants.push_back(std::floor(anywhere(random)) + fractions[fraction(random)]);
    }
    std::vector<double> shuffled = instants;
    std::shuffle(shuffled.begin(), shuffled.end(), random);
    instants.insert(instants.end(), shuffled.begin(), shuffled.end());
    return instants;
}

TEST(DateTextWriter, WritesWhatIcuWritesInEveryZoneAndFormat) {
    struct Zone {
        const char* name;
        std::vector<double> transitions;
    };
    const Zone zones[] = {
        {"UTC", {1700000000}},
        {"America/New_York", {1678604400, 1699164000}},
        {"Australia/Lord_Howe", {1680361200, 1696084200}}, // half-hour daylight saving
        {"Asia/Kolkata", {-764145000}},                    // +5:30
        {"Africa/Monrovia", {63593070}},                   // -0:44:30 until 1972
        {"Europe/Amsterdam", {-1025745572, -1693702800}},  // +0:19:32 before 1937
        {"Pacific/Chatham", {1680357600}},                 // +12:45
    };
    const char* formats[] = {
        "",
        "yyyy-MM-dd HH:mm:ss",
        "dd.MM.yyyy h:mm:ss AM/PM",
        "HH:mm",
        "s",
        "ss 'sec''s' HH:mm zzzz",
        "yyyy-MM-dd'T'HH:mm:ss.SSS",
        "EEEE, d MMMM yyyy HH:mm:ss Z VV",
        "h:mm:ss B",
        "sss:ss",
        "yyyy-MM-dd P",
    };
    std::mt19937_64 random(7);
    for (const Zone& zone : zones) {
        const ZoneScope scope(zone.name);
        const std::vector<double> instants = instantsAround(zone.transitions, random);
        for (const char* format : formats) {
            const DateFormat icu(format);
            DateTextWriter writer(format);
            int failures = 0;
            for (const double instant : instants) {
                const std::string expected = icu.format(instant);
                if (writer.format(instant) != expected && ++failures <= 3) {
                    ADD_FAILURE() << zone.name << " '" << format << "' at " << std::fixed << instant
                                  << ": expected " << expected << ", got "
                                  << writer.format(instant);
                }
            }
        }
    }
}

// The Options page's formats: each date item with each time item, the time items' day period
// written both ways, and the system format.
std::vector<std::string> optionsFormats() {
    const char* dates[] = {"yyyy-MM-dd", "dd.MM.yyyy", "MM/dd/yyyy", "dd/MM/yyyy", "d-MMM-yyyy"};
    const char* times[] = {"HH:mm:ss",   "HH:mm",     "h:mm:ss AM/PM",
                           "h:mm AM/PM", "h:mm:ss a", "h:mm a"};
    std::vector<std::string> formats = {""};
    for (const char* date : dates) {
        for (const char* time : times) {
            formats.push_back(std::string(date) + " " + time);
        }
    }
    return formats;
}

// The Options page's formats, and the reader too: every text the format writes reads back as
// ICU reads it, and so does one cut short.
TEST(DateTextReader, WritesAndReadsWhatIcuDoesOnTheOptionsFormats) {
    struct Zone {
        const char* name;
        std::vector<double> transitions;
    };
    const Zone zones[] = {
        {"UTC", {1700000000}},
        {"America/New_York", {1678604400, 1699164000}},    // the skipped, the repeated hour
        {"Australia/Lord_Howe", {1680361200, 1696084200}}, // half-hour daylight saving
        {"Asia/Kolkata", {-764145000}},                    // +5:30
        {"Asia/Kathmandu", {504901800}},                   // +5:45 since 1986
        {"Africa/Monrovia", {63593070}},                   // -0:44:30 until 1972
        {"Europe/Amsterdam", {-1025745572, -1693702800}},  // +0:19:32 before 1937
        {"Pacific/Chatham", {1680357600}},                 // +12:45, +13:45 in summer
    };
    std::vector<std::string> formats = optionsFormats();
    for (const char* odd :
         {"s", "ss 'sec''s' HH:mm zzzz", "yyyy-MM-dd'T'HH:mm:ss.SSS",
          "EEEE, d MMMM yyyy HH:mm:ss Z VV", "h:mm:ss B", "sss:ss", "ss5", "yyyy-MM-dd P"}) {
        formats.emplace_back(odd);
    }
    std::mt19937_64 random(7);
    for (const Zone& zone : zones) {
        const ZoneScope scope(zone.name);
        const std::vector<double> instants =
            instantsAround(zone.transitions, random, {70, 100, 150});
        for (const std::string& format : formats) {
            const DateFormat icu(format);
            DateTextWriter writer(format);
            DateTextReader reader(format);
            int failures = 0;
            const auto expectSame = [&](const std::string& text, const auto& expected,
                                        const auto& got) {
                if (expected != got && ++failures <= 3) {
                    ADD_FAILURE() << zone.name << " '" << format << "': '" << text << "' "
                                  << ::testing::PrintToString(expected) << " expected, got "
                                  << ::testing::PrintToString(got);
                }
            };
            for (const double instant : instants) {
                const std::string text = icu.format(instant);
                expectSame(text, text, std::string(writer.format(instant)));
                expectSame(text, icu.parse(text), reader.parse(text));
                // A text the format does not write, short of its last character, reads as ICU
                // reads it (often as another second).
                const std::string cut = text.substr(0, text.empty() ? 0 : text.size() - 1);
                expectSame(cut, icu.parse(cut), reader.parse(cut));
            }
        }
    }
}

TEST(DateTextWriter, CachesBySecondOnlyWhenTheTextCannotShowLess) {
    DateTextWriter whole("yyyy-MM-dd HH:mm:ss");
    EXPECT_EQ(whole.wholeSecond(1700000000.25), 1700000000);
    EXPECT_EQ(whole.wholeSecond(-0.5), -1);
    // So close to the next second that ICU's milliseconds might round up into it.
    EXPECT_EQ(whole.wholeSecond(1700000000.9995), std::nullopt);
    EXPECT_EQ(whole.wholeSecond(std::numeric_limits<double>::infinity()), std::nullopt);
    EXPECT_EQ(DateTextWriter("HH:mm:ss.SSS").wholeSecond(1700000000), std::nullopt);
    EXPECT_EQ(DateTextWriter("h 'o''clock' B").wholeSecond(1700000000), std::nullopt);
}

} // namespace
} // namespace velmora
