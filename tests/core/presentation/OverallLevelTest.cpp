#include "core/presentation/OverallLevel.h"

#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace velmora {
namespace {

using enum Severity;

struct LevelCase {
    const char* name;
    std::vector<std::string> priorities;
    std::vector<std::pair<Severity, std::int64_t>> levelChanges; // from the no-file defaults
    Level kept;                                                  // severityStatus before
    std::int64_t overall;
    Level status;
    const char* sentence;
};

constexpr const char* kNormal = "No unwanted or harmful events detected.";
constexpr const char* kModerate = "Review potentialy unwanted events.";
constexpr const char* kSevere = "Review harmful or potentialy unwanted events.";

const std::vector<LevelCase> kLevelCases = {
    {"NoEvents", {}, {}, Level::Severe, 0, Level::Normal, kNormal},
    {"OnlyNormalSeverities",
     {"Local7.Informational", "Local7.Debug", "Foo.Bar"},
     {},
     Level::Normal,
     0,
     Level::Normal,
     kNormal},
    {"OneWarning", {"Kern.Warning"}, {}, Level::Normal, 1, Level::Moderate, kModerate},
    {"WarningRaisedToSevere",
     {"Kern.Warning"},
     {{Warning, 2}},
     Level::Normal,
     2,
     Level::Severe,
     kSevere},
    {"EmergencyLoweredToNormal",
     {"Kern.Emergency", "Local7.Debug"},
     {{Emergency, 0}},
     Level::Severe,
     0,
     Level::Normal,
     kNormal},
    {"LoweredEmergencyBesideANotice",
     {"Kern.Emergency", "User.Notice"},
     {{Emergency, 0}},
     Level::Normal,
     1,
     Level::Moderate,
     kModerate},
    // The counting rule counts both words, so the Alert decides.
    {"TwoWordsInOnePriority", {"Error.Alert"}, {}, Level::Normal, 2, Level::Severe, kSevere},
    // A level without events does not count, however high.
    {"LevelOfAnAbsentSeverity",
     {"Local7.Debug"},
     {{Critical, 2}, {Debug, 1}},
     Level::Normal,
     1,
     Level::Moderate,
     kModerate},
    {"StoredLevelThreeKeepsTheStatus",
     {"Kern.Warning", "Kern.Error"},
     {{Warning, 3}},
     Level::Severe,
     3,
     Level::Severe,
     kSevere},
    {"NegativeLevelNeverRaises",
     {"Kern.Emergency"},
     {{Emergency, -4}},
     Level::Severe,
     0,
     Level::Normal,
     kNormal},
};

class OverallLevelTest : public ::testing::TestWithParam<LevelCase> {};

TEST_P(OverallLevelTest, FollowsTheLevelsOfPresentSeverities) {
    const LevelCase& c = GetParam();
    SeverityCounters counters;
    for (const std::string& priority : c.priorities) {
        counters.count(countedSeverities(priority));
    }
    SeverityLevels levels = kDefaultSeverityLevels;
    for (const auto& [severity, level] : c.levelChanges) {
        levels[severity] = level;
    }

    const std::int64_t overall = overallLevel(counters, levels);
    EXPECT_EQ(overall, c.overall);
    const Level status = nextSeverityStatus(c.kept, overall);
    EXPECT_EQ(status, c.status);
    EXPECT_EQ(overallLevelSentence(status), c.sentence);
}

INSTANTIATE_TEST_SUITE_P(Cases, OverallLevelTest, ::testing::ValuesIn(kLevelCases),
                         [](const ::testing::TestParamInfo<LevelCase>& param) {
                             return std::string(param.param.name);
                         });

} // namespace
} // namespace velmora
