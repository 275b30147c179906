#include "core/settings/EmailTestRequest.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

using std::chrono::seconds;
using std::chrono::system_clock;

// 2023-11-14 22:13:20 UTC (the tests run in UTC).
const system_clock::time_point kNow{seconds(1700000000)};

const std::string kDefaultBody =
    "Date:$date\r\nPriority:$priority\r\nHost:$host\r\nMessage:$message\r\n";

std::vector<std::string> keysOf(const Dictionary& dictionary) {
    std::vector<std::string> keys;
    for (const auto& [key, value] : dictionary) {
        keys.push_back(key);
    }
    return keys;
}

EmailTestRequest request(const std::optional<Dictionary>& settings,
                         std::string_view displayFormat = "") {
    return EmailTestRequest({"a@example.com", "a@example.com", "abc"}, settings, displayFormat,
                            kNow);
}

TEST(EmailTestRequest, DefaultTemplatesGiveTheTestMail) {
    const Dictionary settings{{"actionsFormatSubject", "$message"},
                              {"actionsFormatBody", kDefaultBody}};
    const Dictionary expected{
        {"Settings", "email"},
        {"Recipients", Array{Value("a@example.com"), Value("a@example.com"), Value("abc")}},
        {"Subject", "Kestrix Velmora - Test message"},
        {"Body", "Date:2023-11-14 22:13:20\r\nPriority:Local7.Debug\r\nHost:127.0.0.1\r\n"
                 "Message:Kestrix Velmora - Test message\r\n"},
        {"Html", false}};
    const Dictionary built = request(settings).dictionary();
    EXPECT_EQ(built, expected);
    EXPECT_EQ(keysOf(built), keysOf(expected));
}

// The entries stop at the first missing template; the no-file defaults do not apply.
TEST(EmailTestRequest, EndsAtTheFirstMissingTemplate) {
    struct Case {
        const char* name;
        std::optional<Dictionary> settings;
        std::vector<std::string> keys;
    };
    const std::vector<std::string> all{"Settings", "Recipients", "Subject", "Body", "Html"};
    const Case cases[] = {
        {"no settings", std::nullopt, {"Settings", "Recipients"}},
        {"no subject", Dictionary{{"actionsFormatBody", "b"}}, {"Settings", "Recipients"}},
        {"no body",
         Dictionary{{"actionsFormatSubject", "s"}},
         {"Settings", "Recipients", "Subject"}},
        {"subject not text",
         Dictionary{{"actionsFormatSubject", 7}, {"actionsFormatBody", "b"}},
         {"Settings", "Recipients"}},
        {"empty templates are present",
         Dictionary{{"actionsFormatSubject", ""}, {"actionsFormatBody", ""}}, all},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(keysOf(request(c.settings).dictionary()), c.keys) << c.name;
    }
}

TEST(EmailTestRequest, PlaceholdersAreReplacedInOrder) {
    struct Case {
        const char* text;
        std::string_view displayFormat;
        const char* filled;
    };
    const Case cases[] = {
        {"$message and $message", "",
         "Kestrix Velmora - Test message and Kestrix Velmora - Test message"},
        {"$hostname $$host", "", "127.0.0.1name $127.0.0.1"},
        {"$Host $MESSAGE $", "", "$Host $MESSAGE $"},
        {"no placeholder", "", "no placeholder"},
        {"$date", "yyyy-MM-dd HH:mm AM/PM", "2023-11-14 22:13 PM"},
        // A date that spells a later placeholder has it replaced, an earlier one not.
        {"$date", "'$priority'", "Local7.Debug"},
        {"$date", "'$host'", "$host"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(request(Dictionary{}, c.displayFormat).fill(c.text), c.filled) << c.text;
    }
}

} // namespace
} // namespace velmora
