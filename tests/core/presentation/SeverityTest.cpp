#include "core/presentation/Severity.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "core/presentation/PriorityNames.h"
#include "core/settings/SettingsSchema.h"

namespace velmora {
namespace {

using enum Severity;

// The titles the popup options page writes into the selection lists, in severity order.
const std::vector<std::string> kOptionTitles = {"Emergency",   "Alert",   "Critical",
                                                "Error",       "Warning", "Notice",
                                                "Information", "Debug",   "Unknown"};

// The severities whose option title, alone in a selection list, selects the priority.
SeveritySet selectingTitles(std::string_view priority) {
    SeveritySet set;
    for (const Severity s : kAllSeverities) {
        if (popupSelects(priority, {kOptionTitles[severityIndex(s)]})) {
            set.insert(s);
        }
    }
    return set;
}

std::string describe(SeveritySet set) {
    std::string text;
    for (const Severity s : kAllSeverities) {
        if (set.contains(s)) {
            text.append(severityName(s)).append(" ");
        }
    }
    return text;
}

// The four rules over the same priorities; they disagree where a text holds two words, where it
// says "Information" without "al", and where a word stands in the facility part.
TEST(Severity, RulesSideBySide) {
    struct Row {
        const char* priority;
        SeveritySet counted;
        Severity displayed;
        Severity deleted;
        SeveritySet popup;
    };
    const Row rows[] = {
        {"Local7.Debug", {Debug}, Debug, Debug, {Debug}},
        {"Local7.Informational", {Informational}, Informational, Informational, {Informational}},
        {"Auth.Information", {Unknown}, Unknown, Informational, {Unknown}},
        {"Error.Alert", {Alert, Error}, Alert, Alert, {Alert, Error}},
        {"Debug.Critical", {Critical, Debug}, Critical, Critical, {Critical, Debug}},
        {"Alert.Debug", {Alert, Debug}, Alert, Alert, {Alert, Debug}},
        {"Kern.Emergency", {Emergency}, Emergency, Emergency, {Emergency}},
        {"Warning.Notice", {Warning, Notice}, Warning, Warning, {Warning, Notice}},
        {"Mail.Errors", {Error}, Error, Error, {Error}},
        {"Foo.Bar", {Unknown}, Unknown, Unknown, {Unknown}},
        {"", {Unknown}, Unknown, Unknown, {Unknown}},
        {"local7.debug", {Unknown}, Unknown, Unknown, {Unknown}},
        {"User.INFORMATIONAL", {Unknown}, Unknown, Unknown, {Unknown}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.priority);
        EXPECT_EQ(describe(countedSeverities(row.priority)), describe(row.counted));
        EXPECT_EQ(severityName(displayedSeverity(row.priority)), severityName(row.displayed));
        EXPECT_EQ(severityName(deletedLineSeverity(row.priority)), severityName(row.deleted));
        EXPECT_EQ(describe(selectingTitles(row.priority)), describe(row.popup));
    }
}

TEST(Severity, FindArrayForStringMatchesEntriesContainingTheText) {
    struct Case {
        std::vector<std::string> list;
        const char* text;
        std::int64_t index;
    };
    const Case cases[] = {
        {{}, "Alert", kNotFound},
        {{"Critical", "Alert"}, "Alert", 1},
        {{"Alerting", "Alert"}, "Alert", 0},
        {{"Informational"}, "Information", 0},
        {{"Info"}, "Information", kNotFound},
        {{"alert"}, "Alert", kNotFound},
        {{"Debug", "Debug"}, "Debug", 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(findArrayForString(c.list, c.text), c.index);
    }
    EXPECT_EQ(kNotFound, INT64_MAX);
}

TEST(Severity, PopupSelectionTriesEveryWordAndFallsBackToUnknownOnlyWithoutOne) {
    struct Case {
        const char* priority;
        std::vector<std::string> list;
        bool selected;
    };
    const Case cases[] = {
        // A later word is still tried after an earlier one was not chosen.
        {"Alert.Debug", {"Debug"}, true},
        {"Alert.Debug", {"Notice", "Alert"}, true},
        // Entries are searched for the lookup name, so a longer entry selects too.
        {"Local7.Informational", {"Informational"}, true},
        {"Local7.Informational", {"Info"}, false},
        // A priority with a word is never selected through "Unknown".
        {"Local7.Debug", {"Unknown"}, false},
        {"Foo.Bar", {"Unknown"}, true},
        {"Foo.Bar", {"Unknown severity"}, true},
        {"Foo.Bar", {"Debug", "Notice"}, false},
        {"Foo.Bar", {}, false},
        {"Local7.Debug", {}, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.priority);
        EXPECT_EQ(popupSelects(c.priority, c.list), c.selected);
    }
}

TEST(Severity, LevelsFromStoredIntegers) {
    EXPECT_EQ(levelFromInteger(0), Level::Normal);
    EXPECT_EQ(levelFromInteger(1), Level::Moderate);
    EXPECT_EQ(levelFromInteger(2), Level::Severe);
    for (const std::int64_t other : {std::int64_t{-1}, std::int64_t{3}, INT64_MIN, INT64_MAX}) {
        EXPECT_EQ(levelFromInteger(other), std::nullopt) << other;
    }
    EXPECT_EQ(levelImageName(Level::Normal), "Normal");
    EXPECT_EQ(levelImageName(Level::Moderate), "Moderate");
    EXPECT_EQ(levelImageName(Level::Severe), "Severe");

    SeverityLevels levels = kDefaultSeverityLevels;
    levels[Debug] = 7; // a stored value the options page would never write survives
    EXPECT_EQ(levels[Debug], 7);
    EXPECT_EQ(levels.levelOf(Debug), std::nullopt);
    EXPECT_EQ(levels.levelOf(Alert), Level::Severe);
}

TEST(Severity, DefaultLevelsGiveTheDefaultImages) {
    struct Case {
        const char* priority;
        const char* image;
    };
    const Case cases[] = {
        {"Kern.Emergency", "Severe"},    {"Auth.Alert", "Severe"},     {"Mail.Critical", "Severe"},
        {"User.Error", "Moderate"},      {"Cron.Warning", "Moderate"}, {"User.Notice", "Moderate"},
        {"Ftp.Informational", "Normal"}, {"Local7.Debug", "Normal"},   {"Foo.Bar", "Normal"},
    };
    for (const Case& c : cases) {
        const auto level = kDefaultSeverityLevels.levelOf(displayedSeverity(c.priority));
        ASSERT_TRUE(level.has_value()) << c.priority;
        EXPECT_EQ(levelImageName(*level), c.image) << c.priority;
    }
}

// The settings schema declares the level keys and their no-file defaults on its own; the two
// must agree on every name and value.
TEST(Severity, NamesAgreeWithTheSettingsKeys) {
    for (const Severity s : kAllSeverities) {
        const std::string key = std::string("severity").append(severityKeySuffix(s));
        const SettingKey* setting = findSettingKey(key);
        ASSERT_NE(setting, nullptr) << key;
        EXPECT_EQ(readSetting(std::nullopt, *setting), Value(kDefaultSeverityLevels[s])) << key;
        EXPECT_EQ(popupOptionTitle(s), kOptionTitles[severityIndex(s)]);
    }
    EXPECT_EQ(severityKeySuffix(Alert), "Alerting");
    EXPECT_EQ(severityName(Alert), "Alert");
    EXPECT_EQ(severityKeySuffix(Informational), "Information");
    EXPECT_EQ(severityName(Informational), "Informational");
}

TEST(Severity, PriorityTextsOfSyslogNumbers) {
    const std::pair<int, std::optional<std::string>> cases[] = {
        {0, "Kern.Emergency"}, {13, "User.Notice"},       {38, "Auth.Informational"},
        {191, "Local7.Debug"}, {128, "Local0.Emergency"}, {-1, std::nullopt},
        {192, std::nullopt},
    };
    for (const auto& [number, text] : cases) {
        EXPECT_EQ(priorityText(number), text) << number;
    }
    // What the console writes is what its own rules read back.
    EXPECT_EQ(displayedSeverity(*priorityText(191)), Severity::Debug);
    EXPECT_EQ(displayedSeverity(*priorityText(14)), Severity::Informational);
}

} // namespace
} // namespace velmora
