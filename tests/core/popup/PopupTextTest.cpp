#include "core/popup/PopupText.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

TEST(PopupText, HeaderIsTheTextAfterTheFirstDot) {
    struct Case {
        const char* priority;
        const char* header;
    };
    const Case cases[] = {
        {"Local7.Debug", "Debug"},
        {"Local7.Informational", "Informational"},
        {"A.B.C", "B.C"},
        {"Local7.", ""},
        // Starting with a dot, or without one: the whole priority.
        {".Debug", ".Debug"},
        {"Debug", "Debug"},
        {"", ""},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(popupHeader(c.priority), c.header) << c.priority;
    }
}

TEST(PopupText, DetailsListTheFieldsAsTheEventHoldsThem) {
    EXPECT_EQ(popupDetails("2023-11-14 22:13:20", "Local7.Debug", "10.0.0.1", "a, b\nc"),
              "Date: 2023-11-14 22:13:20\nPriority: Local7.Debug\nHost: 10.0.0.1\n\n"
              "Message:\na, b\nc");
    EXPECT_EQ(popupDetails(std::nullopt, "Kern.Error", std::nullopt, std::nullopt),
              "Date: \nPriority: Kern.Error\nHost: \n\nMessage:\n");
}

} // namespace
} // namespace velmora
