#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velmora {

// The nine severities. This order is the order of every per-severity list of the console: the
// counters, the level settings, the removal settings, the popup option titles.
enum class Severity : std::uint8_t {
    Emergency,
    Alert,
    Critical,
    Error,
    Warning,
    Notice,
    Informational,
    Debug,
    Unknown
};

inline constexpr std::size_t kSeverityCount = 9;

inline constexpr std::array<Severity, kSeverityCount> kAllSeverities = {
    Severity::Emergency,     Severity::Alert,   Severity::Critical,
    Severity::Error,         Severity::Warning, Severity::Notice,
    Severity::Informational, Severity::Debug,   Severity::Unknown};

constexpr std::size_t severityIndex(Severity severity) {
    return static_cast<std::size_t>(severity);
}

// The level a user gives a severity, and the image that shows it.
enum class Level : std::uint8_t { Normal, Moderate, Severe };

// 0, 1 and 2 are levels; any other stored integer is none (the image is then left as it was).
std::optional<Level> levelFromInteger(std::int64_t value);
// "Normal", "Moderate", "Severe".
std::string_view levelImageName(Level level);

// "Emergency" … "Informational", "Debug", "Unknown": the word the server writes.
std::string_view severityName(Severity severity);
// The tail of the level and removal setting keys: "Alerting" and "Information" where the
// severity is Alert and Informational ("severityAlerting", "removalInformationUnits").
std::string_view severityKeySuffix(Severity severity);
// The popup option titles, which are also the names looked up in the popup selection lists and
// the tails of the counters (iAlert, iInformation): "Alert", "Information", "Unknown".
std::string_view popupOptionTitle(Severity severity);

// A set of severities in nine bits.
class SeveritySet {
public:
    constexpr SeveritySet() = default;
    constexpr SeveritySet(std::initializer_list<Severity> members) {
        for (const Severity s : members) {
            insert(s);
        }
    }

    constexpr void insert(Severity s) {
        m_bits |= static_cast<std::uint16_t>(1u << severityIndex(s));
    }
    constexpr bool contains(Severity s) const { return (m_bits >> severityIndex(s)) & 1u; }
    constexpr bool empty() const { return m_bits == 0; }
    constexpr std::uint16_t bits() const { return m_bits; }
    constexpr bool operator==(const SeveritySet&) const = default;

private:
    std::uint16_t m_bits = 0;
};

// The console classifies a priority text ("Local7.Debug") by several rules that disagree on
// purpose, and each must stay as it is:
//
// - counting (the event list's counters, the dashboard): every severity word the text contains
//   counts, so "Error.Alert" is one Error and one Alert; the informational word is
//   "Informational";
// - display (the severity image of the events table, and the popup window's picture and title
//   bar colour): the first word in severity order wins, whatever its place in the text, so a
//   facility that contains a word decides before the severity part does;
// - popup selection (sound and popup): like counting every word is tried, and the event is
//   taken when any of its words is chosen in the list; the text is searched for
//   "Informational" but the list for "Information";
// - deletion (lowering the counters for a line cut out of a log file): first match like display,
//   but the informational word is the shorter "Information", so "Auth.Information" is
//   Informational here and Unknown everywhere else.
//
// All tests are case-sensitive substring tests: "local7.debug" is Unknown.

// Counting rule. Never empty: a text without any word gives {Unknown}.
SeveritySet countedSeverities(std::string_view priority);

// Display rule (also the popup window's first-match chain).
Severity displayedSeverity(std::string_view priority);

// Deletion rule, applied by the caller to the second field of a log line.
Severity deletedLineSeverity(std::string_view priorityField);

// The not-found index of findArrayForString.
inline constexpr std::int64_t kNotFound = std::numeric_limits<std::int64_t>::max();

// Index of the first entry of the list that contains text as a substring, scanning from 0;
// kNotFound when none does or the list is empty.
std::int64_t findArrayForString(const std::vector<std::string>& list, std::string_view text);

// Popup selection rule: whether a popup selection list (popupDisplayArray or popupPlayArray)
// takes an event of this priority.
bool popupSelects(std::string_view priority, const std::vector<std::string>& list);

// The level setting of each severity. Values are kept as stored: the options page writes 0, 1
// or 2, but any integer of the settings file survives and means "no level".
struct SeverityLevels {
    std::array<std::int64_t, kSeverityCount> values{};

    constexpr std::int64_t& operator[](Severity s) { return values[severityIndex(s)]; }
    constexpr std::int64_t operator[](Severity s) const { return values[severityIndex(s)]; }
    std::optional<Level> levelOf(Severity s) const { return levelFromInteger((*this)[s]); }
    bool operator==(const SeverityLevels&) const = default;
};

// The levels in force when there is no settings file, and the popup's built-in levels.
inline constexpr SeverityLevels kDefaultSeverityLevels = {{2, 2, 2, 1, 1, 1, 0, 0, 0}};

} // namespace velmora
