#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace velmora {

// The names the server writes in the priority text of an event, "Facility.Severity": a
// facility by its syslog number 0 to 23 and a severity by its number 0 to 7. The console reads
// whatever text the server wrote; these lists fix only what the console itself writes or
// offers (the filter and action combo boxes, the development stand-in for the server, the
// benchmark's log generator).
inline constexpr std::array<std::string_view, 24> kFacilityNames = {
    "Kern",   "User",   "Mail",     "Daemon", "Auth",   "Syslog",   "Lpr",     "News",
    "Uucp",   "Cron",   "Authpriv", "Ftp",    "Ntp",    "Security", "Console", "Clock",
    "Local0", "Local1", "Local2",   "Local3", "Local4", "Local5",   "Local6",  "Local7"};

inline constexpr std::array<std::string_view, 8> kSyslogSeverityNames = {
    "Emergency", "Alert", "Critical", "Error", "Warning", "Notice", "Informational", "Debug"};

// The priority text of a syslog priority number (facility × 8 + severity): 191 is
// "Local7.Debug". Nothing for a number outside 0 to 191.
std::optional<std::string> priorityText(int priority);

// As priorityText, without allocating, for a number known to be in 0 to 191: the server names
// every event it receives by it.
std::string_view priorityName(int priority) noexcept;

} // namespace velmora
