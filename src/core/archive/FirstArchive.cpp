#include "core/archive/FirstArchive.h"

#include <string_view>

#include "core/archive/KeyedArchive.h"

namespace velmora::keyed_archive {

namespace {

constexpr std::string_view kMagic = "bplist00";
constexpr std::size_t kTrailerSize = 32;

std::uint64_t readBigEndian(std::span<const std::uint8_t> bytes) {
    std::uint64_t value = 0;
    for (const std::uint8_t byte : bytes) {
        value = (value << 8) | byte;
    }
    return value;
}

// Whether the 32 bytes before `end` are a trailer whose offset table ends right before them.
bool endsWithTrailer(std::span<const std::uint8_t> bytes, std::size_t end) {
    const auto trailer = bytes.subspan(end - kTrailerSize, kTrailerSize);
    const std::uint8_t offsetSize = trailer[6];
    const std::uint8_t referenceSize = trailer[7];
    if (offsetSize < 1 || offsetSize > 8 || referenceSize < 1 || referenceSize > 8) {
        return false;
    }
    const std::uint64_t objects = readBigEndian(trailer.subspan(8, 8));
    const std::uint64_t tableOffset = readBigEndian(trailer.subspan(24, 8));
    const std::uint64_t tableEnd = end - kTrailerSize;
    return objects > 0 && tableOffset > kMagic.size() && tableOffset < tableEnd &&
           objects == (tableEnd - tableOffset) / offsetSize &&
           (tableEnd - tableOffset) % offsetSize == 0;
}

} // namespace

std::optional<std::size_t> firstListLength(std::span<const std::uint8_t> bytes, std::size_t from) {
    if (bytes.size() < kMagic.size() ||
        std::string_view(reinterpret_cast<const char*>(bytes.data()), kMagic.size()) != kMagic) {
        return std::nullopt;
    }
    for (std::size_t end = std::max(from, kMagic.size() + 1 + kTrailerSize); end <= bytes.size();
         ++end) {
        if (endsWithTrailer(bytes, end)) {
            return end;
        }
    }
    return std::nullopt;
}

Result<Dictionary> decodeFirstDictionary(std::span<const std::uint8_t> bytes) {
    std::optional<std::size_t> length = firstListLength(bytes);
    Error last{ErrorCode::Corrupt, "no archive at the start of the bytes"};
    while (length) {
        Result<Dictionary> decoded = decodeDictionary(bytes.first(*length));
        if (decoded) {
            return decoded;
        }
        last = decoded.error();
        length = firstListLength(bytes, *length + 1);
    }
    return last;
}

} // namespace velmora::keyed_archive
