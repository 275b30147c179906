#include "core/archive/BinaryPlistReader.h"

#include <algorithm>
#include <bit>
#include <limits>
#include <string_view>

#include <unicode/unistr.h>

namespace velmora {

namespace {

constexpr std::string_view kMagic = "bplist00";
constexpr std::size_t kTrailerSize = 32;

Error corrupt(std::string message) {
    return Error{ErrorCode::Corrupt, std::move(message)};
}

// Big-endian unsigned number of up to 8 bytes.
std::uint64_t readUnsigned(std::span<const std::uint8_t> bytes) {
    std::uint64_t value = 0;
    for (const std::uint8_t byte : bytes) {
        value = (value << 8) | byte;
    }
    return value;
}

// The bytes of one object after its marker; every take is checked against what is left.
class Cursor {
public:
    explicit Cursor(std::span<const std::uint8_t> rest)
        : m_rest(rest) {}

    bool take(std::uint64_t size, std::span<const std::uint8_t>& out) {
        if (size > m_rest.size()) {
            return false;
        }
        out = m_rest.first(static_cast<std::size_t>(size));
        m_rest = m_rest.subspan(static_cast<std::size_t>(size));
        return true;
    }

    // take() of count items of width bytes each, without overflowing the product.
    bool takeItems(std::uint64_t count, std::uint64_t width, std::span<const std::uint8_t>& out) {
        return count <= m_rest.size() / width && take(count * width, out);
    }

    // An object's count: the marker's low nibble, or when that is 0xF an integer object that
    // follows the marker.
    bool count(std::uint8_t nibble, std::uint64_t& out) {
        if (nibble != 0xF) {
            out = nibble;
            return true;
        }
        std::span<const std::uint8_t> marker;
        std::span<const std::uint8_t> value;
        if (!take(1, marker) || (marker[0] & 0xF0) != 0x10 || (marker[0] & 0x0F) > 3 ||
            !take(std::uint64_t{1} << (marker[0] & 0x0F), value)) {
            return false;
        }
        out = readUnsigned(value);
        return true;
    }

private:
    std::span<const std::uint8_t> m_rest;
};

// Integers of 1, 2 and 4 bytes are unsigned, of 8 bytes signed, of 16 bytes signed 128-bit
// (written for unsigned values of 2^63 and above, which do not fit our integers).
Result<std::int64_t> readInteger(std::span<const std::uint8_t> bytes) {
    if (bytes.size() <= 8) {
        return static_cast<std::int64_t>(readUnsigned(bytes));
    }
    const std::uint64_t high = readUnsigned(bytes.first(8));
    const std::uint64_t low = readUnsigned(bytes.subspan(8));
    const bool fits = (high == 0 && low <= std::numeric_limits<std::int64_t>::max()) ||
                      (high == ~std::uint64_t{0} && low > std::numeric_limits<std::int64_t>::max());
    if (!fits) {
        return Error{ErrorCode::Unsupported, "an integer does not fit in 64 bits"};
    }
    return static_cast<std::int64_t>(low);
}

double readReal(std::span<const std::uint8_t> bytes) {
    if (bytes.size() == 4) {
        return std::bit_cast<float>(static_cast<std::uint32_t>(readUnsigned(bytes)));
    }
    return std::bit_cast<double>(readUnsigned(bytes));
}

} // namespace

Result<BinaryPlistReader> BinaryPlistReader::open(std::span<const std::uint8_t> bytes) {
    if (bytes.size() < kMagic.size() + 1 + kTrailerSize ||
        !std::equal(kMagic.begin(), kMagic.end(), bytes.begin())) {
        return corrupt("not a binary property list");
    }
    BinaryPlistReader reader(bytes);
    const auto trailer = bytes.last(kTrailerSize);
    reader.m_offsetSize = trailer[6];
    reader.m_referenceSize = trailer[7];
    reader.m_objectCount = readUnsigned(trailer.subspan(8, 8));
    reader.m_topIndex = readUnsigned(trailer.subspan(16, 8));
    const std::uint64_t tableOffset = readUnsigned(trailer.subspan(24, 8));
    const std::uint64_t tableLimit = bytes.size() - kTrailerSize;
    if (reader.m_offsetSize < 1 || reader.m_offsetSize > 8 || reader.m_referenceSize < 1 ||
        reader.m_referenceSize > 8 || reader.m_objectCount == 0 ||
        reader.m_topIndex >= reader.m_objectCount || tableOffset <= kMagic.size() ||
        tableOffset > tableLimit ||
        reader.m_objectCount > (tableLimit - tableOffset) / reader.m_offsetSize) {
        return corrupt("the property list's trailer is inconsistent");
    }
    reader.m_offsetTable =
        bytes.subspan(static_cast<std::size_t>(tableOffset),
                      static_cast<std::size_t>(reader.m_objectCount) * reader.m_offsetSize);
    reader.m_objectsEnd = tableOffset;
    return reader;
}

Result<BinaryPlistReader::Object> BinaryPlistReader::object(std::uint64_t index) const {
    if (index >= m_objectCount) {
        return corrupt("a reference points past the property list's " +
                       std::to_string(m_objectCount) + " objects");
    }
    const std::uint64_t offset = readUnsigned(
        m_offsetTable.subspan(static_cast<std::size_t>(index) * m_offsetSize, m_offsetSize));
    if (offset < kMagic.size() || offset >= m_objectsEnd) {
        return corrupt("object " + std::to_string(index) + " lies outside the object area");
    }
    const auto start = static_cast<std::size_t>(offset);
    const std::uint8_t marker = m_bytes[start];
    const auto nibble = static_cast<std::uint8_t>(marker & 0x0F);
    Cursor cursor(m_bytes.subspan(start + 1, static_cast<std::size_t>(m_objectsEnd) - start - 1));
    Object object;
    bool ok = true;
    switch (marker >> 4) {
    case 0x0:
        ok = marker == 0x00 || marker == 0x08 || marker == 0x09;
        object.type = marker == 0x00 ? Type::Null : Type::Boolean;
        object.integer = marker == 0x09 ? 1 : 0;
        break;
    case 0x1: {
        ok = nibble <= 4 && cursor.take(std::uint64_t{1} << nibble, object.bytes);
        if (ok) {
            Result<std::int64_t> value = readInteger(object.bytes);
            if (!value) {
                return value.error();
            }
            object.type = Type::Integer;
            object.integer = *value;
        }
        break;
    }
    case 0x2:
    case 0x3:
        ok = (marker == 0x22 || marker == 0x23 || marker == 0x33) &&
             cursor.take(std::uint64_t{1} << nibble, object.bytes);
        object.type = marker == 0x33 ? Type::Date : Type::Real;
        object.real = ok ? readReal(object.bytes) : 0;
        break;
    case 0x4:
        object.type = Type::Data;
        ok = cursor.count(nibble, object.count) && cursor.take(object.count, object.bytes);
        break;
    case 0x5:
        object.type = Type::AsciiString;
        ok = cursor.count(nibble, object.count) && cursor.take(object.count, object.bytes);
        break;
    case 0x6:
        object.type = Type::Utf16String;
        ok = cursor.count(nibble, object.count) && cursor.takeItems(object.count, 2, object.bytes);
        break;
    case 0x8:
        object.type = Type::Uid;
        ok = nibble < 8 && cursor.take(nibble + 1u, object.bytes);
        object.uid = readUnsigned(object.bytes);
        break;
    case 0xA:
    case 0xC:
        object.type = marker >> 4 == 0xA ? Type::Array : Type::Set;
        ok = cursor.count(nibble, object.count) &&
             cursor.takeItems(object.count, m_referenceSize, object.bytes);
        break;
    case 0xD:
        object.type = Type::Dictionary;
        ok = cursor.count(nibble, object.count) &&
             cursor.takeItems(object.count, 2u * m_referenceSize, object.bytes);
        break;
    default:
        ok = false;
    }
    if (!ok) {
        return corrupt("object " + std::to_string(index) + " is malformed or cut short");
    }
    return object;
}

std::uint64_t BinaryPlistReader::element(const Object& container, std::uint64_t n) const {
    const std::uint64_t slots =
        container.type == Type::Dictionary ? container.count * 2 : container.count;
    if (n >= slots || container.bytes.size() / m_referenceSize < slots) {
        return std::numeric_limits<std::uint64_t>::max();
    }
    return readUnsigned(
        container.bytes.subspan(static_cast<std::size_t>(n) * m_referenceSize, m_referenceSize));
}

Result<std::string> BinaryPlistReader::text(const Object& string) {
    if (string.type == Type::AsciiString) {
        if (std::any_of(string.bytes.begin(), string.bytes.end(),
                        [](std::uint8_t byte) { return byte >= 0x80; })) {
            return corrupt("an ASCII string holds a byte above 0x7F");
        }
        return std::string(string.bytes.begin(), string.bytes.end());
    }
    if (string.type != Type::Utf16String) {
        return corrupt("a string was expected");
    }
    if (string.count > static_cast<std::uint64_t>(std::numeric_limits<std::int32_t>::max())) {
        return Error{ErrorCode::Unsupported, "a string is longer than 2^31 code units"};
    }
    std::u16string units(static_cast<std::size_t>(string.count), u'\0');
    for (std::size_t i = 0; i < units.size(); ++i) {
        units[i] = static_cast<char16_t>(string.bytes[2 * i] << 8 | string.bytes[2 * i + 1]);
    }
    std::string utf8;
    icu::UnicodeString(units.data(), static_cast<std::int32_t>(units.size())).toUTF8String(utf8);
    return utf8;
}

bool BinaryPlistReader::equals(const Object& string, std::string_view ascii) {
    if (string.type == Type::AsciiString) {
        return std::equal(string.bytes.begin(), string.bytes.end(), ascii.begin(), ascii.end());
    }
    if (string.type != Type::Utf16String || string.count != ascii.size()) {
        return false;
    }
    for (std::size_t i = 0; i < ascii.size(); ++i) {
        if (string.bytes[2 * i] != 0 || string.bytes[2 * i + 1] != std::uint8_t(ascii[i])) {
            return false;
        }
    }
    return true;
}

} // namespace velmora
