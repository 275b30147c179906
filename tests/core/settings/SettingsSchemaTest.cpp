#include "core/settings/SettingsSchema.h"

#include <set>

#include <gtest/gtest.h>

namespace velmora {
namespace {

Value read(const std::optional<Dictionary>& settings, std::string_view name) {
    const SettingKey* key = findSettingKey(name);
    EXPECT_NE(key, nullptr) << name;
    return key ? readSetting(settings, *key) : Value();
}

TEST(SettingsSchema, EveryKeyOnceWithItsType) {
    std::set<std::string> names;
    for (const SettingKey& key : settingKeys()) {
        EXPECT_TRUE(names.insert(key.name).second) << key.name;
        if (key.noFileDefault) {
            // A default of the wrong kind would be archived with the wrong type on first save.
            EXPECT_EQ(readSetting(Dictionary{{key.name, *key.noFileDefault}}, key),
                      *key.noFileDefault)
                << key.name;
        }
    }
    // 2 display keys, 9 levels, 18 removal keys, 4 popup, 2 filters, 1 action list,
    // 7 mail server, 2 mail format, 4 export.
    EXPECT_EQ(names.size(), 49u);
    EXPECT_EQ(findSettingKey("severityAlert"), nullptr); // the key says "Alerting"
    EXPECT_NE(findSettingKey("severityAlerting"), nullptr);
    EXPECT_NE(findSettingKey("removalUnknownUnits"), nullptr);
}

// With no settings file every reader sees the defaults; with a file that lacks a key it sees
// 0, NO, "" or [], except for the two corrected mail keys.
TEST(SettingsSchema, NoFileDefaultsAgainstMissingKeys) {
    struct Case {
        const char* key;
        Value noFile;
        Value missing;
    };
    const Case cases[] = {
        {"hostsDisplay", Value(false), Value(false)},
        {"dateFormat", Value(""), Value("")},
        {"severityEmergency", Value(2), Value(0)},
        {"severityAlerting", Value(2), Value(0)},
        {"severityCritical", Value(2), Value(0)},
        {"severityError", Value(1), Value(0)},
        {"severityWarning", Value(1), Value(0)},
        {"severityNotice", Value(1), Value(0)},
        {"severityInformation", Value(0), Value(0)},
        {"severityDebug", Value(0), Value(0)},
        {"severityUnknown", Value(0), Value(0)},
        {"removalDebug", Value(30), Value(0)},
        {"removalDebugUnits", Value(2), Value(0)},
        {"popupEvents", Value(0), Value(0)},
        {"popupSound", Value(""), Value("")},
        {"popupDisplayArray", Value(Array{}), Value(Array{})},
        {"actionsArray", Value(Array{}), Value(Array{})},
        {"actionsEmailPort", Value(25), Value(25)},
        {"actionsEmailTimeout", Value(1), Value(1)},
        {"actionsEmailServer", Value(""), Value("")},
        {"actionsFormatSubject", Value("$message"), Value("")},
        {"actionsFormatBody",
         Value("Date:$date\r\nPriority:$priority\r\nHost:$host\r\nMessage:$message\r\n"),
         Value("")},
        {"textInterval", Value(0), Value(0)},
        {"databaseLocation", Value(""), Value("")},
    };
    const std::optional<Dictionary> noFile;
    const std::optional<Dictionary> emptyFile = Dictionary{};
    for (const Case& c : cases) {
        EXPECT_EQ(read(noFile, c.key), c.noFile) << c.key;
        EXPECT_EQ(read(emptyFile, c.key), c.missing) << c.key;
    }
}

TEST(SettingsSchema, StoredValuesAreReadAsTheKeysTypeAndCorrected) {
    const std::optional<Dictionary> file =
        Dictionary{{"actionsEmailPort", 0}, {"actionsEmailTimeout", 30}, {"severityError", 2},
                   {"hostsDisplay", 1},     {"popupEvents", "12"},       {"dateFormat", 5}};
    EXPECT_EQ(read(file, "actionsEmailPort"), Value(25));
    EXPECT_EQ(read(file, "actionsEmailTimeout"), Value(30));
    EXPECT_EQ(read(file, "severityError"), Value(2));
    EXPECT_EQ(read(file, "hostsDisplay"), Value(true));
    EXPECT_EQ(read(file, "popupEvents"), Value(12));
    EXPECT_EQ(read(file, "dateFormat"), Value(""));
}

} // namespace
} // namespace velmora
