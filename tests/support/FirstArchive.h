#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "core/Result.h"
#include "core/archive/KeyedArchive.h"

namespace velmora::test {

// The pipe file is written from offset 0 without truncation, so it may hold a new archive
// followed by the tail of an older, longer one. A binary property list is located from its
// trailer at the end, so the file cannot be decoded whole: the first archive is the shortest
// prefix that decodes.
inline Result<Dictionary> decodeFirstArchive(std::span<const std::uint8_t> bytes) {
    for (std::size_t length = 8; length <= bytes.size(); ++length) {
        Result<Dictionary> decoded = keyed_archive::decodeDictionary(bytes.first(length));
        if (decoded) {
            return decoded;
        }
    }
    return Error{ErrorCode::Corrupt, "no archive at the start of the file"};
}

} // namespace velmora::test
