#pragma once

#include <nlohmann/json.hpp>

#include "core/Result.h"
#include "core/archive/Value.h"

namespace velmora::cli {

// Settings values as JSON: strings, integers, booleans, reals, arrays and objects map one to one
// (objects keep their key order). The two kinds JSON lacks are objects of one reserved key:
// data as {"$data": "<base64>"} and a date as {"$date": <seconds since 2001-01-01 UTC>}.
using Json = nlohmann::ordered_json;

Json toJson(const Value& value);
Result<Value> fromJson(const Json& json);

// Parses a whole text; a syntax error is ErrorCode::Invalid with the parser's position.
Result<Json> parseJson(std::string_view text);
// Serialises; bytes that are not UTF-8 are replaced rather than refused.
std::string dumpJson(const Json& json, int indent = -1);

// Appends a text as a JSON string, for output streamed without building a Json value. The
// text is UTF-8 and written as it is, but for quotes, backslashes and control characters.
void appendJsonString(std::string& out, std::string_view text);

} // namespace velmora::cli
