#pragma once

#include <string_view>

namespace velmora::action_record {

// An action record is a filter record (tools/FilterRecord.h) with the sub-records of its three
// commands, each a dictionary that is empty while its command is off.
inline constexpr std::string_view kRunCommand = "runCommand";
inline constexpr std::string_view kSendEmail = "sendEmail";
inline constexpr std::string_view kSetEvent = "setEvent";

} // namespace velmora::action_record
