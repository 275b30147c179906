#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace velmora {

class Value;
using Array = std::vector<Value>;

// Raw bytes (NSData in an archive).
struct Data {
    std::vector<std::uint8_t> bytes;
    bool operator==(const Data&) const = default;
};

// An absolute time (NSDate in an archive): seconds since 2001-01-01 00:00:00 UTC.
struct Date {
    double sinceReferenceDate = 0;
    bool operator==(const Date&) const = default;
};

// A string-keyed dictionary that remembers the order in which keys were first set, so that
// what is archived comes out in the order it was built (the e-mail request's entries are
// ordered). Equality ignores order, as dictionary equality does.
//
// The typed readers are how every page reads its settings: a key that is missing, or holds a
// value of another kind, reads as 0, NO, an empty string or an empty array. Whether a key is
// present at all is asked with contains() or find().
class Dictionary {
public:
    using Entry = std::pair<std::string, Value>;
    using const_iterator = std::vector<Entry>::const_iterator;

    Dictionary() = default;
    Dictionary(std::initializer_list<Entry> entries);

    const Value* find(std::string_view key) const;
    Value* find(std::string_view key);
    bool contains(std::string_view key) const { return find(key) != nullptr; }

    // Replaces the value of an existing key in place, or appends a new key.
    void set(std::string key, Value value);
    // Appends a key the caller knows to be new, without set()'s search: a decoder that has
    // checked its keys builds a large dictionary in linear time.
    void appendUnchecked(std::string key, Value value);
    // Returns whether the key was there.
    bool erase(std::string_view key);
    void clear();

    std::size_t size() const;
    bool empty() const;
    const_iterator begin() const;
    const_iterator end() const;

    std::int64_t integer(std::string_view key) const;
    bool boolean(std::string_view key) const;
    const std::string& string(std::string_view key) const;
    const Array& array(std::string_view key) const;
    const Dictionary& dictionary(std::string_view key) const;

    friend bool operator==(const Dictionary& a, const Dictionary& b);

private:
    std::vector<Entry> m_entries;
};

// The kinds of Value, in the order of its alternatives. g++ 12 takes the scoped enumerators
// for shadows of the types of the same names, which they cannot be.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wshadow"
enum class ValueKind { String, Integer, Boolean, Real, Array, Dictionary, Data, Date };
#pragma GCC diagnostic pop

// One value of the settings dictionary: what a keyed archive can hold.
class Value {
public:
    Value()
        : m_value(std::string()) {}
    Value(std::string s)
        : m_value(std::move(s)) {}
    Value(std::string_view s)
        : m_value(std::string(s)) {}
    Value(const char* s)
        : m_value(std::string(s)) {}
    Value(std::int64_t i)
        : m_value(i) {}
    Value(int i)
        : m_value(std::int64_t{i}) {}
    Value(bool b)
        : m_value(b) {}
    Value(double d)
        : m_value(d) {}
    Value(velmora::Array a)
        : m_value(std::move(a)) {}
    Value(velmora::Dictionary d)
        : m_value(std::move(d)) {}
    Value(velmora::Data d)
        : m_value(std::move(d)) {}
    Value(velmora::Date d)
        : m_value(d) {}

    ValueKind kind() const { return static_cast<ValueKind>(m_value.index()); }
    bool is(ValueKind k) const { return kind() == k; }

    // Exact access: nullptr when the value is of another kind.
    const std::string* asString() const { return std::get_if<std::string>(&m_value); }
    const std::int64_t* asInteger() const { return std::get_if<std::int64_t>(&m_value); }
    const bool* asBoolean() const { return std::get_if<bool>(&m_value); }
    const double* asReal() const { return std::get_if<double>(&m_value); }
    const velmora::Array* asArray() const { return std::get_if<velmora::Array>(&m_value); }
    velmora::Array* asArray() { return std::get_if<velmora::Array>(&m_value); }
    const velmora::Dictionary* asDictionary() const {
        return std::get_if<velmora::Dictionary>(&m_value);
    }
    velmora::Dictionary* asDictionary() { return std::get_if<velmora::Dictionary>(&m_value); }
    const velmora::Data* asData() const { return std::get_if<velmora::Data>(&m_value); }
    const velmora::Date* asDate() const { return std::get_if<velmora::Date>(&m_value); }

    // Numeric reading as a number object answers it: integers, booleans (1/0) and reals
    // (truncated); a string reads its leading decimal integer; anything else is 0.
    std::int64_t toInteger() const;
    // Booleans as they are; numbers are true when not zero; a string when its integer is not zero.
    bool toBoolean() const;

    friend bool operator==(const Value& a, const Value& b) { return a.m_value == b.m_value; }

private:
    std::variant<std::string, std::int64_t, bool, double, velmora::Array, velmora::Dictionary,
                 velmora::Data, velmora::Date>
        m_value;
};

const char* kindName(ValueKind kind);

// Defined where Value is complete: clang instantiates these vector members on the spot.
inline void Dictionary::clear() {
    m_entries.clear();
}
inline std::size_t Dictionary::size() const {
    return m_entries.size();
}
inline bool Dictionary::empty() const {
    return m_entries.empty();
}
inline Dictionary::const_iterator Dictionary::begin() const {
    return m_entries.begin();
}
inline Dictionary::const_iterator Dictionary::end() const {
    return m_entries.end();
}

} // namespace velmora
