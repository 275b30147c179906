#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "core/archive/Value.h"

namespace velmora {

// g++ 12 takes the scoped enumerators for shadows of the types of the same names.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wshadow"
enum class SettingType { Boolean, Integer, String, Array };
#pragma GCC diagnostic pop

// One key of the settings dictionary, declared once: its type, the value in force when there is
// no settings file at all, and its correction. A file that exists but lacks the key reads it as
// 0, NO, "" or [] (not as the no-file default): the asymmetry is deliberate.
struct SettingKey {
    std::string name;
    SettingType type;
    // nullopt: no default; the key reads as absent (0, NO, "" or []) even without a file.
    std::optional<Value> noFileDefault;
    // A stored 0 reads as this value (0 = no correction): the mail port and time-out.
    std::int64_t zeroReadsAs = 0;
};

// Every key the console or the server reads, in the order of the settings pages.
std::span<const SettingKey> settingKeys();
const SettingKey* findSettingKey(std::string_view name);

// What every reader of the key sees: with no file (nullopt), the no-file default or the type's
// empty value; with a file, the stored value read as the key's type, corrected.
Value readSetting(const std::optional<Dictionary>& settings, const SettingKey& key);

const char* settingTypeName(SettingType type);

} // namespace velmora
