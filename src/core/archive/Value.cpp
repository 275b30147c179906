#include "core/archive/Value.h"

#include <algorithm>
#include <charconv>
#include <limits>

namespace velmora {

namespace {

const std::string kEmptyString;
const Array kEmptyArray;
const Dictionary kEmptyDictionary;

// The leading decimal integer of a text, as a number object's reading of a string gives it:
// leading blanks skipped, an optional sign, digits; nothing readable is 0; overflow saturates.
std::int64_t leadingInteger(std::string_view s) {
    const auto start = s.find_first_not_of(" \t\n\r\f\v");
    if (start == std::string_view::npos) {
        return 0;
    }
    s.remove_prefix(start);
    bool negative = false;
    if (!s.empty() && (s.front() == '+' || s.front() == '-')) {
        negative = s.front() == '-';
        s.remove_prefix(1);
    }
    std::int64_t magnitude = 0;
    if (std::from_chars(s.data(), s.data() + s.size(), magnitude).ec ==
        std::errc::result_out_of_range) {
        return negative ? std::numeric_limits<std::int64_t>::min()
                        : std::numeric_limits<std::int64_t>::max();
    }
    return negative ? -magnitude : magnitude;
}

} // namespace

Dictionary::Dictionary(std::initializer_list<Entry> entries) {
    for (const auto& [key, value] : entries) {
        set(key, value);
    }
}

const Value* Dictionary::find(std::string_view key) const {
    const auto it = std::find_if(m_entries.begin(), m_entries.end(),
                                 [key](const Entry& e) { return e.first == key; });
    return it == m_entries.end() ? nullptr : &it->second;
}

Value* Dictionary::find(std::string_view key) {
    return const_cast<Value*>(std::as_const(*this).find(key));
}

void Dictionary::set(std::string key, Value value) {
    if (Value* existing = find(key)) {
        *existing = std::move(value);
        return;
    }
    m_entries.emplace_back(std::move(key), std::move(value));
}

void Dictionary::appendUnchecked(std::string key, Value value) {
    m_entries.emplace_back(std::move(key), std::move(value));
}

bool Dictionary::erase(std::string_view key) {
    const auto it = std::find_if(m_entries.begin(), m_entries.end(),
                                 [key](const Entry& e) { return e.first == key; });
    if (it == m_entries.end()) {
        return false;
    }
    m_entries.erase(it);
    return true;
}

std::int64_t Dictionary::integer(std::string_view key) const {
    const Value* v = find(key);
    return v ? v->toInteger() : 0;
}

bool Dictionary::boolean(std::string_view key) const {
    const Value* v = find(key);
    return v && v->toBoolean();
}

const std::string& Dictionary::string(std::string_view key) const {
    const Value* v = find(key);
    const std::string* s = v ? v->asString() : nullptr;
    return s ? *s : kEmptyString;
}

const Array& Dictionary::array(std::string_view key) const {
    const Value* v = find(key);
    const Array* a = v ? v->asArray() : nullptr;
    return a ? *a : kEmptyArray;
}

const Dictionary& Dictionary::dictionary(std::string_view key) const {
    const Value* v = find(key);
    const Dictionary* d = v ? v->asDictionary() : nullptr;
    return d ? *d : kEmptyDictionary;
}

bool operator==(const Dictionary& a, const Dictionary& b) {
    if (a.size() != b.size()) {
        return false;
    }
    return std::all_of(a.begin(), a.end(), [&b](const Dictionary::Entry& e) {
        const Value* other = b.find(e.first);
        return other != nullptr && *other == e.second;
    });
}

std::int64_t Value::toInteger() const {
    switch (kind()) {
    case ValueKind::Integer:
        return *asInteger();
    case ValueKind::Boolean:
        return *asBoolean() ? 1 : 0;
    case ValueKind::Real: {
        const double d = *asReal();
        if (!(d == d)) {
            return 0;
        }
        if (d >= 9.2233720368547758e18) {
            return std::numeric_limits<std::int64_t>::max();
        }
        if (d <= -9.2233720368547758e18) {
            return std::numeric_limits<std::int64_t>::min();
        }
        return static_cast<std::int64_t>(d);
    }
    case ValueKind::String:
        return leadingInteger(*asString());
    default:
        return 0;
    }
}

bool Value::toBoolean() const {
    if (const bool* b = asBoolean()) {
        return *b;
    }
    if (const double* d = asReal()) {
        return *d != 0;
    }
    return toInteger() != 0;
}

const char* kindName(ValueKind kind) {
    switch (kind) {
    case ValueKind::String:
        return "string";
    case ValueKind::Integer:
        return "integer";
    case ValueKind::Boolean:
        return "boolean";
    case ValueKind::Real:
        return "real";
    case ValueKind::Array:
        return "array";
    case ValueKind::Dictionary:
        return "dictionary";
    case ValueKind::Data:
        return "data";
    case ValueKind::Date:
        return "date";
    }
    return "value";
}

} // namespace velmora
