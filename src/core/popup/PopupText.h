#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace velmora {

// The popup's header: the severity part of a priority, the text after its first "." ("Debug"
// for "Local7.Debug"); the whole priority when it starts with "." or has none.
std::string_view popupHeader(std::string_view priority);

// The popup's details text, each field as the event holds it (an absent field reads as empty).
std::string popupDetails(std::optional<std::string_view> date,
                         std::optional<std::string_view> priority,
                         std::optional<std::string_view> host,
                         std::optional<std::string_view> message);

} // namespace velmora
