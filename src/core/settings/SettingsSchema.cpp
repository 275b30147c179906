#include "core/settings/SettingsSchema.h"

#include <algorithm>
#include <string>
#include <vector>

#include "core/presentation/Severity.h"

namespace velmora {

namespace {

std::string compose(std::string_view prefix, std::string_view suffix, std::string_view tail = {}) {
    return std::string(prefix).append(suffix).append(tail);
}

std::vector<SettingKey> buildTable() {
    std::vector<SettingKey> keys;
    keys.push_back({"hostsDisplay", SettingType::Boolean, Value(false)});
    keys.push_back({"dateFormat", SettingType::String, Value("")});
    // The per-severity keys say "Alerting" and "Information".
    for (const Severity s : kAllSeverities) {
        keys.push_back({compose("severity", severityKeySuffix(s)), SettingType::Integer,
                        Value(kDefaultSeverityLevels[s])});
    }
    for (const Severity s : kAllSeverities) {
        keys.push_back({compose("removal", severityKeySuffix(s)), SettingType::Integer, Value(30)});
    }
    for (const Severity s : kAllSeverities) {
        keys.push_back(
            {compose("removal", severityKeySuffix(s), "Units"), SettingType::Integer, Value(2)});
    }
    keys.push_back({"popupEvents", SettingType::Integer, Value(0)});
    keys.push_back({"popupSound", SettingType::String, std::nullopt});
    keys.push_back({"popupDisplayArray", SettingType::Array, Value(Array{})});
    keys.push_back({"popupPlayArray", SettingType::Array, Value(Array{})});
    keys.push_back({"includeFiltersArray", SettingType::Array, Value(Array{})});
    keys.push_back({"excludeFiltersArray", SettingType::Array, Value(Array{})});
    keys.push_back({"actionsArray", SettingType::Array, Value(Array{})});
    keys.push_back({"actionsEmailServer", SettingType::String, std::nullopt});
    keys.push_back({"actionsEmailPort", SettingType::Integer, Value(25), 25});
    keys.push_back({"actionsEmailTimeout", SettingType::Integer, Value(1), 1});
    keys.push_back({"actionsEmailSender", SettingType::String, std::nullopt});
    keys.push_back({"actionsEmailUsername", SettingType::String, std::nullopt});
    keys.push_back({"actionsEmailPassword", SettingType::String, std::nullopt});
    keys.push_back({"actionsEmailSecurity", SettingType::String, std::nullopt});
    keys.push_back({"actionsFormatSubject", SettingType::String, Value("$message")});
    keys.push_back(
        {"actionsFormatBody", SettingType::String,
         Value("Date:$date\r\nPriority:$priority\r\nHost:$host\r\nMessage:$message\r\n")});
    keys.push_back({"textInterval", SettingType::Integer, Value(0)});
    keys.push_back({"textLocation", SettingType::String, std::nullopt});
    keys.push_back({"databaseInterval", SettingType::Integer, Value(0)});
    keys.push_back({"databaseLocation", SettingType::String, std::nullopt});
    return keys;
}

Value emptyOf(SettingType type) {
    switch (type) {
    case SettingType::Boolean:
        return Value(false);
    case SettingType::Integer:
        return Value(0);
    case SettingType::String:
        return Value("");
    case SettingType::Array:
        return Value(Array{});
    }
    return Value("");
}

} // namespace

std::span<const SettingKey> settingKeys() {
    static const std::vector<SettingKey> table = buildTable();
    return table;
}

const SettingKey* findSettingKey(std::string_view name) {
    const auto keys = settingKeys();
    const auto it = std::find_if(keys.begin(), keys.end(),
                                 [name](const SettingKey& k) { return k.name == name; });
    return it == keys.end() ? nullptr : &*it;
}

Value readSetting(const std::optional<Dictionary>& settings, const SettingKey& key) {
    if (!settings) {
        return key.noFileDefault.value_or(emptyOf(key.type));
    }
    switch (key.type) {
    case SettingType::Boolean:
        return Value(settings->boolean(key.name));
    case SettingType::Integer: {
        const std::int64_t stored = settings->integer(key.name);
        return Value(stored == 0 && key.zeroReadsAs != 0 ? key.zeroReadsAs : stored);
    }
    case SettingType::String:
        return Value(settings->string(key.name));
    case SettingType::Array:
        return Value(settings->array(key.name));
    }
    return emptyOf(key.type);
}

const char* settingTypeName(SettingType type) {
    switch (type) {
    case SettingType::Boolean:
        return "boolean";
    case SettingType::Integer:
        return "integer";
    case SettingType::String:
        return "string";
    case SettingType::Array:
        return "array";
    }
    return "value";
}

} // namespace velmora
