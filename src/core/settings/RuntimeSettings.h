#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "core/archive/Value.h"
#include "core/presentation/Severity.h"

namespace velmora {

// The application delegate's run-time copy of the settings that the live event path reads for
// every event, so that no event unarchives the settings file. Loaded once at start and replaced
// only by the Options page's save.
struct RuntimeSettings {
    SeverityLevels levels = kDefaultSeverityLevels;
    std::int64_t iPopupEvents = 0;
    // The format the rows on screen were last written in, and the format to show now; "" is the
    // locale format. A format never set reads as "", which behaves the same everywhere.
    std::string oldDateFormat;
    std::string newDateFormat;
    std::string popupSound;
    std::vector<std::string> popupDisplayArray;
    std::vector<std::string> popupPlayArray;

    // From the settings file, or with no file: the default levels and popups off. A file that
    // lacks a level reads it as 0, not as its default.
    static RuntimeSettings load(const std::optional<Dictionary>& settings);

    // Whether a new event goes to the popup queue at all.
    bool queuesPopups() const { return iPopupEvents > 0 || !popupSound.empty(); }
};

} // namespace velmora
