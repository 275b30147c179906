#include "core/presentation/Severity.h"

namespace velmora {

namespace {

// The words searched for in a priority text, in severity order (Unknown has none).
constexpr std::array<std::string_view, 8> kPriorityWords = {
    "Emergency", "Alert", "Critical", "Error", "Warning", "Notice", "Informational", "Debug"};

// The deletion of log lines searches for the shorter informational word.
constexpr std::array<std::string_view, 8> kDeletionWords = {
    "Emergency", "Alert", "Critical", "Error", "Warning", "Notice", "Information", "Debug"};

constexpr std::array<std::string_view, kSeverityCount> kNames = {
    "Emergency", "Alert",         "Critical", "Error",  "Warning",
    "Notice",    "Informational", "Debug",    "Unknown"};

constexpr std::array<std::string_view, kSeverityCount> kKeySuffixes = {
    "Emergency", "Alerting",    "Critical", "Error",  "Warning",
    "Notice",    "Information", "Debug",    "Unknown"};

constexpr std::array<std::string_view, kSeverityCount> kPopupTitles = {
    "Emergency", "Alert",       "Critical", "Error",  "Warning",
    "Notice",    "Information", "Debug",    "Unknown"};

constexpr std::array<std::string_view, 3> kImageNames = {"Normal", "Moderate", "Severe"};

bool contains(std::string_view text, std::string_view word) {
    return text.find(word) != std::string_view::npos;
}

Severity firstMatch(std::string_view text, const std::array<std::string_view, 8>& words) {
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (contains(text, words[i])) {
            return static_cast<Severity>(i);
        }
    }
    return Severity::Unknown;
}

} // namespace

std::optional<Level> levelFromInteger(std::int64_t value) {
    if (value < 0 || value > 2) {
        return std::nullopt;
    }
    return static_cast<Level>(value);
}

std::string_view levelImageName(Level level) {
    return kImageNames[static_cast<std::size_t>(level)];
}

std::string_view severityName(Severity severity) {
    return kNames[severityIndex(severity)];
}

std::string_view severityKeySuffix(Severity severity) {
    return kKeySuffixes[severityIndex(severity)];
}

std::string_view popupOptionTitle(Severity severity) {
    return kPopupTitles[severityIndex(severity)];
}

SeveritySet countedSeverities(std::string_view priority) {
    SeveritySet set;
    for (std::size_t i = 0; i < kPriorityWords.size(); ++i) {
        if (contains(priority, kPriorityWords[i])) {
            set.insert(static_cast<Severity>(i));
        }
    }
    if (set.empty()) {
        set.insert(Severity::Unknown);
    }
    return set;
}

Severity displayedSeverity(std::string_view priority) {
    return firstMatch(priority, kPriorityWords);
}

Severity deletedLineSeverity(std::string_view priorityField) {
    return firstMatch(priorityField, kDeletionWords);
}

std::int64_t findArrayForString(const std::vector<std::string>& list, std::string_view text) {
    for (std::size_t i = 0; i < list.size(); ++i) {
        if (contains(list[i], text)) {
            return static_cast<std::int64_t>(i);
        }
    }
    return kNotFound;
}

bool popupSelects(std::string_view priority, const std::vector<std::string>& list) {
    bool matched = false;
    bool selected = false;
    for (std::size_t i = 0; i < kPriorityWords.size(); ++i) {
        if (contains(priority, kPriorityWords[i])) {
            matched = true;
            if (findArrayForString(list, kPopupTitles[i]) != kNotFound) {
                selected = true;
            }
        }
    }
    if (!matched) {
        selected = findArrayForString(list, popupOptionTitle(Severity::Unknown)) != kNotFound;
    }
    return selected;
}

} // namespace velmora
