#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "core/Result.h"

namespace velmora {

// Random access to the objects of a binary property list ("bplist00") in place, one object at
// a time: nothing is parsed before it is asked for, and a container yields the indexes of its
// children rather than the children themselves. The caller decides how far to walk, so a list
// whose objects are shared many times over, or refer to themselves, costs only what the walk
// visits. Every offset, length and reference is checked against the bytes, which must outlive
// the reader.
class BinaryPlistReader {
public:
    // g++ 12 takes the scoped enumerators for shadows of the types of the same names.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wshadow"
    enum class Type {
        Null,
        Boolean,
        Integer,
        Real,
        Date,
        Data,
        AsciiString,
        Utf16String,
        Uid,
        Array,
        Set,
        Dictionary
    };
#pragma GCC diagnostic pop

    struct Object {
        Type type = Type::Null;
        std::int64_t integer = 0; // Boolean (0 or 1), Integer
        std::uint64_t uid = 0;    // Uid
        double real = 0;          // Real, Date (seconds since 2001-01-01)
        // Data: the bytes; strings: the code units (UTF-16 big-endian); containers: the
        // references, a dictionary's keys first, then its values.
        std::span<const std::uint8_t> bytes;
        std::uint64_t count = 0; // containers: elements (a dictionary: entries)

        bool isString() const { return type == Type::AsciiString || type == Type::Utf16String; }
    };

    static Result<BinaryPlistReader> open(std::span<const std::uint8_t> bytes);

    std::uint64_t topIndex() const {
        return m_topIndex;
    }
    Result<Object> object(std::uint64_t index) const;

    // The index of a container's n-th element; a dictionary's n-th key is element n, its value
    // element count + n. An n out of range gives an index that object() refuses.
    std::uint64_t element(const Object& container, std::uint64_t n) const;

    // A string object's text as UTF-8; unpaired UTF-16 surrogates become U+FFFD.
    static Result<std::string> text(const Object& string);
    // Whether a string object holds exactly this ASCII text, without converting it.
    static bool equals(const Object& string, std::string_view ascii);

private:
    explicit BinaryPlistReader(std::span<const std::uint8_t> bytes)
        : m_bytes(bytes) {}

    std::span<const std::uint8_t> m_bytes;
    std::span<const std::uint8_t> m_offsetTable;
    std::uint64_t m_objectCount = 0;
    std::uint64_t m_topIndex = 0;
    std::uint64_t m_objectsEnd = 0;
    std::uint8_t m_offsetSize = 0;
    std::uint8_t m_referenceSize = 0;
};

} // namespace velmora
