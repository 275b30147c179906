#include "cli/JsonValue.h"

#include <array>
#include <cstdint>
#include <limits>

#include "core/archive/KeyedArchive.h"

namespace velmora::cli {

namespace {

constexpr std::string_view kDataKey = "$data";
constexpr std::string_view kDateKey = "$date";
constexpr std::string_view kBase64Alphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

std::string base64Encode(const std::vector<std::uint8_t>& bytes) {
    std::string out;
    out.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const std::size_t n = std::min<std::size_t>(3, bytes.size() - i);
        std::uint32_t chunk = 0;
        for (std::size_t j = 0; j < 3; ++j) {
            chunk = (chunk << 8) | (j < n ? bytes[i + j] : 0U);
        }
        for (std::size_t j = 0; j < 4; ++j) {
            out += j <= n ? kBase64Alphabet[(chunk >> (18 - 6 * j)) & 0x3FU] : '=';
        }
    }
    return out;
}

std::optional<std::vector<std::uint8_t>> base64Decode(std::string_view text) {
    if (text.size() % 4 != 0) {
        return std::nullopt;
    }
    std::vector<std::uint8_t> out;
    out.reserve(text.size() / 4 * 3);
    for (std::size_t i = 0; i < text.size(); i += 4) {
        std::uint32_t chunk = 0;
        std::size_t padding = 0;
        for (std::size_t j = 0; j < 4; ++j) {
            const char c = text[i + j];
            std::uint32_t sextet = 0;
            if (c == '=' && i + 4 == text.size() && j >= 2) {
                ++padding;
            } else {
                const auto pos = kBase64Alphabet.find(c);
                if (pos == std::string_view::npos || padding > 0) {
                    return std::nullopt;
                }
                sextet = static_cast<std::uint32_t>(pos);
            }
            chunk = (chunk << 6) | sextet;
        }
        for (std::size_t j = 0; j < 3 - padding; ++j) {
            out.push_back(static_cast<std::uint8_t>((chunk >> (16 - 8 * j)) & 0xFFU));
        }
    }
    return out;
}

Error invalid(std::string message) {
    return {ErrorCode::Invalid, std::move(message)};
}

} // namespace

Json toJson(const Value& value) {
    switch (value.kind()) {
    case ValueKind::String:
        return *value.asString();
    case ValueKind::Integer:
        return *value.asInteger();
    case ValueKind::Boolean:
        return *value.asBoolean();
    case ValueKind::Real:
        return *value.asReal();
    case ValueKind::Array: {
        Json array = Json::array();
        for (const Value& element : *value.asArray()) {
            array.push_back(toJson(element));
        }
        return array;
    }
    case ValueKind::Dictionary: {
        Json object = Json::object();
        for (const auto& [key, element] : *value.asDictionary()) {
            object[key] = toJson(element);
        }
        return object;
    }
    case ValueKind::Data:
        return Json{{kDataKey, base64Encode(value.asData()->bytes)}};
    case ValueKind::Date:
        return Json{{kDateKey, value.asDate()->sinceReferenceDate}};
    }
    return nullptr;
}

namespace {

Result<Value> fromJsonAt(const Json& json, int depth);

Result<Value> arrayFromJson(const Json& json, int depth) {
    Array array;
    array.reserve(json.size());
    for (const Json& element : json) {
        Result<Value> v = fromJsonAt(element, depth + 1);
        if (!v) {
            return v;
        }
        array.push_back(std::move(v).value());
    }
    return Value(std::move(array));
}

Result<Value> objectFromJson(const Json& json, int depth) {
    if (json.size() == 1 && json.contains(kDataKey) && json[kDataKey].is_string()) {
        auto bytes = base64Decode(json[kDataKey].get<std::string>());
        if (!bytes) {
            return invalid("\"$data\" holds no valid base64");
        }
        return Value(Data{std::move(*bytes)});
    }
    if (json.size() == 1 && json.contains(kDateKey) && json[kDateKey].is_number()) {
        return Value(Date{json[kDateKey].get<double>()});
    }
    Dictionary dictionary;
    for (const auto& [key, element] : json.items()) {
        Result<Value> v = fromJsonAt(element, depth + 1);
        if (!v) {
            return v;
        }
        dictionary.set(key, std::move(v).value());
    }
    return Value(std::move(dictionary));
}

// The archive reader refuses nesting deeper than its limit, so deeper JSON is refused here
// rather than saved as a settings file that nothing could read back.
Result<Value> fromJsonAt(const Json& json, int depth) {
    if (depth > keyed_archive::kMaxDepth) {
        return invalid("the JSON nests deeper than " + std::to_string(keyed_archive::kMaxDepth) +
                       " levels");
    }
    switch (json.type()) {
    case Json::value_t::string:
        return Value(json.get<std::string>());
    case Json::value_t::boolean:
        return Value(json.get<bool>());
    case Json::value_t::number_integer:
        return Value(json.get<std::int64_t>());
    case Json::value_t::number_unsigned: {
        const auto u = json.get<std::uint64_t>();
        if (u > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
            return invalid("the integer " + std::to_string(u) + " does not fit in 64 bits");
        }
        return Value(static_cast<std::int64_t>(u));
    }
    case Json::value_t::number_float:
        return Value(json.get<double>());
    case Json::value_t::array:
        return arrayFromJson(json, depth);
    case Json::value_t::object:
        return objectFromJson(json, depth);
    case Json::value_t::null:
        return invalid("null is not a settings value");
    default:
        return invalid("unsupported JSON value");
    }
}

} // namespace

Result<Value> fromJson(const Json& json) {
    return fromJsonAt(json, 0);
}

Result<Json> parseJson(std::string_view text) {
    Json json = Json::parse(text, nullptr, /*allow_exceptions=*/false);
    if (json.is_discarded()) {
        // Parse again with exceptions only to get the parser's description of the fault.
        try {
            [[maybe_unused]] const Json again = Json::parse(text);
        } catch (const Json::parse_error& e) {
            return invalid(e.what());
        }
        return invalid("invalid JSON");
    }
    return json;
}

void appendJsonString(std::string& out, std::string_view text) {
    out += '"';
    for (const char c : text) {
        switch (c) {
        case '"':
            out += "\\\"";
            break;
        case '\\':
            out += "\\\\";
            break;
        case '\n':
            out += "\\n";
            break;
        case '\r':
            out += "\\r";
            break;
        case '\t':
            out += "\\t";
            break;
        default:
            if (static_cast<unsigned char>(c) < 0x20) {
                static constexpr char kHex[] = "0123456789abcdef";
                out += "\\u00";
                out += kHex[(c >> 4) & 0xF];
                out += kHex[c & 0xF];
            } else {
                out += c;
            }
        }
    }
    out += '"';
}

std::string dumpJson(const Json& json, int indent) {
    return json.dump(indent, ' ', false, Json::error_handler_t::replace);
}

} // namespace velmora::cli
