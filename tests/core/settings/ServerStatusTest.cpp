#include "core/settings/ServerStatus.h"

#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace velmora {
namespace {

struct StatusCase {
    const char* name;
    std::optional<Dictionary> settings;
    const char* actions;
    const char* exportLine;
};

// An action whose three commands are all left empty: it does nothing, but it is there.
Dictionary disabledAction() {
    return Dictionary{{"Name", "Idle"},
                      {"IP", ""},
                      {"Mask", ""},
                      {"Facility", "Any"},
                      {"Severity", "Any"},
                      {"Message", ""},
                      {"runCommand", Dictionary{}},
                      {"sendEmail", Dictionary{}},
                      {"setEvent", Dictionary{}}};
}

const std::vector<StatusCase> kStatusCases = {
    {"NoSettingsFile", std::nullopt, "Do not use actions", "Do not use export"},
    {"EmptySettings", Dictionary{}, "Do not use actions", "Do not use export"},
    {"EmptyActionList", Dictionary{{"actionsArray", Array{}}, {"textInterval", 0}},
     "Do not use actions", "Do not use export"},
    {"OneDisabledAction", Dictionary{{"actionsArray", Array{disabledAction()}}}, "Actions enabled",
     "Do not use export"},
    {"ActionListOfAnotherKind", Dictionary{{"actionsArray", "Page"}}, "Do not use actions",
     "Do not use export"},
    {"DatabaseExportOnly", Dictionary{{"textInterval", 0}, {"databaseInterval", 5}},
     "Do not use actions", "Export enabled"},
    {"TextExportOnly", Dictionary{{"textInterval", 1}}, "Do not use actions", "Export enabled"},
    {"NegativeIntervals", Dictionary{{"textInterval", -1}, {"databaseInterval", -5}},
     "Do not use actions", "Do not use export"},
    // Locations are not looked at: an interval without a location still counts.
    {"IntervalWithoutLocation", Dictionary{{"databaseInterval", 1}, {"databaseLocation", ""}},
     "Do not use actions", "Export enabled"},
};

class ServerStatusTest : public ::testing::TestWithParam<StatusCase> {};

TEST_P(ServerStatusTest, LinesFollowTheSettings) {
    const StatusCase& c = GetParam();
    EXPECT_EQ(actionsStatusText(actionsEnabled(c.settings)), c.actions);
    EXPECT_EQ(exportStatusText(exportEnabled(c.settings)), c.exportLine);
}

INSTANTIATE_TEST_SUITE_P(Cases, ServerStatusTest, ::testing::ValuesIn(kStatusCases),
                         [](const ::testing::TestParamInfo<StatusCase>& param) {
                             return std::string(param.param.name);
                         });

} // namespace
} // namespace velmora
