#pragma once

#include <array>
#include <string_view>

namespace velmora::filter_record {

// The keys of a filter record, a dictionary of six strings that the server matches received
// messages against (an action record extends it). Records are compared by value.
inline constexpr std::string_view kName = "Name";
inline constexpr std::string_view kIP = "IP";
inline constexpr std::string_view kMask = "Mask";
inline constexpr std::string_view kFacility = "Facility";
inline constexpr std::string_view kSeverity = "Severity";
inline constexpr std::string_view kMessage = "Message";

// "0.0.0.0" with mask "0" stands for any host, "*" for any message.
inline constexpr std::string_view kAnyIP = "0.0.0.0";
inline constexpr std::string_view kAnyMask = "0";
inline constexpr std::string_view kAnyMessage = "*";

} // namespace velmora::filter_record
