#include <charconv>
#include <fstream>
#include <iterator>
#include <sstream>

#include "cli/Commands.h"
#include "cli/JsonValue.h"
#include "core/settings/SettingsSchema.h"

namespace velmora::cli {

namespace {

Result<std::string> readInput(const Context& context, const std::string& path) {
    if (path == "-") {
        return std::string(std::istreambuf_iterator<char>(context.environment.in), {});
    }
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        return Error{ErrorCode::NotFound, "cannot read " + path};
    }
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

Result<Value> parseTyped(const SettingKey& key, const std::string& text) {
    const auto refuse = [&](const char* expected) {
        return Error{ErrorCode::Invalid,
                     key.name + " takes " + expected + ", not \"" + text + "\""};
    };
    switch (key.type) {
    case SettingType::String:
        return Value(text);
    case SettingType::Boolean:
        if (text == "true" || text == "YES" || text == "1") {
            return Value(true);
        }
        if (text == "false" || text == "NO" || text == "0") {
            return Value(false);
        }
        return refuse("true or false");
    case SettingType::Integer: {
        std::int64_t number = 0;
        const char* end = text.data() + text.size();
        const auto [ptr, ec] = std::from_chars(text.data(), end, number);
        if (text.empty() || ec != std::errc() || ptr != end) {
            return refuse("a whole number");
        }
        return Value(number);
    }
    case SettingType::Array: {
        Result<Json> json = parseJson(text);
        if (!json || !json->is_array()) {
            return refuse("a JSON array");
        }
        return fromJson(*json);
    }
    }
    return refuse("a value");
}

int dump(const Context& context) {
    Result<Dictionary> settings = context.store.loadDictionary();
    if (!settings) {
        return context.fail(kExitFailure, settings.error().message);
    }
    context.out() << dumpJson(toJson(Value(std::move(settings).value())), 2) << '\n';
    return kExitOk;
}

int load(const Context& context, const std::string& path) {
    Result<std::string> text = readInput(context, path);
    if (!text) {
        return context.fail(kExitUsage, text.error().message);
    }
    Result<Json> json = parseJson(*text);
    if (!json) {
        return context.fail(kExitUsage, path + " is not valid JSON: " + json.error().message);
    }
    if (!json->is_object()) {
        return context.fail(kExitUsage, path + " does not hold a JSON object");
    }
    Result<Value> value = fromJson(*json);
    if (!value) {
        return context.fail(kExitUsage, value.error().message);
    }
    const Status saved = context.store.saveDictionary(*value->asDictionary());
    if (!saved) {
        return context.fail(kExitFailure, saved.error().message);
    }
    return kExitOk;
}

// Settings as a page reads them: nothing when there is no file. A file that does not decode is
// refused here, so that the command line never hides nor overwrites a damaged file.
Result<std::optional<Dictionary>> readForKey(const Context& context) {
    Result<Dictionary> settings = context.store.loadDictionary();
    if (settings) {
        return std::optional<Dictionary>(std::move(settings).value());
    }
    if (settings.error().code == ErrorCode::NotFound) {
        return std::optional<Dictionary>();
    }
    return settings.error();
}

int get(const Context& context, const std::string& name) {
    const SettingKey* key = findSettingKey(name);
    if (key == nullptr) {
        return context.fail(kExitUsage, "unknown settings key " + name);
    }
    Result<std::optional<Dictionary>> settings = readForKey(context);
    if (!settings) {
        return context.fail(kExitFailure, settings.error().message);
    }
    context.out() << dumpJson(toJson(readSetting(*settings, *key))) << '\n';
    return kExitOk;
}

int set(const Context& context, const std::string& name, const std::string& text) {
    const SettingKey* key = findSettingKey(name);
    if (key == nullptr) {
        return context.fail(kExitUsage, "unknown settings key " + name);
    }
    Result<Value> value = parseTyped(*key, text);
    if (!value) {
        return context.fail(kExitUsage, value.error().message);
    }
    Result<std::optional<Dictionary>> settings = readForKey(context);
    if (!settings) {
        return context.fail(kExitFailure, settings.error().message +
                                              " (replace it whole with \"settings load\")");
    }
    Dictionary dictionary = settings->value_or(Dictionary{});
    dictionary.set(name, std::move(value).value());
    const Status saved = context.store.saveDictionary(dictionary);
    if (!saved) {
        return context.fail(kExitFailure, saved.error().message);
    }
    return kExitOk;
}

} // namespace

int settingsCommand(const Context& context) {
    const auto& a = context.arguments;
    if (a.size() == 1 && a[0] == "dump") {
        return dump(context);
    }
    if (a.size() == 2 && a[0] == "load") {
        return load(context, a[1]);
    }
    if (a.size() == 2 && a[0] == "get") {
        return get(context, a[1]);
    }
    if (a.size() == 3 && a[0] == "set") {
        return set(context, a[1], a[2]);
    }
    return context.fail(kExitUsage, "usage: settings dump | load FILE | get KEY | set KEY VALUE");
}

} // namespace velmora::cli
