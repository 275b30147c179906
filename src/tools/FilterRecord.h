#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "core/archive/Value.h"

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

// The mask as the editors show it: a whole number, whether stored as text, as typed, or as a
// number by another program.
inline std::int64_t maskNumber(const Dictionary& record) {
    const Value* mask = record.find(kMask);
    return mask != nullptr ? mask->toInteger() : 0;
}

} // namespace velmora::filter_record
