#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "core/Result.h"
#include "core/archive/Value.h"

namespace velmora::keyed_archive {

// The pipe file is written from offset 0 without truncation, so it may hold a newer, shorter
// archive followed by the tail of an older one. A binary property list is found from its
// 32-byte trailer at its end, so the file cannot be decoded whole.

// The length of the first binary property list at the start of the bytes: the shortest prefix
// whose last 32 bytes read as a trailer whose offset table ends exactly where that trailer
// begins. Only the lengths where that holds are candidates, so the search reads each byte a
// few times, never decodes a prefix that cannot be a list. Nothing when no prefix qualifies.
std::optional<std::size_t> firstListLength(std::span<const std::uint8_t> bytes,
                                           std::size_t from = 0);

// The dictionary archived at the start of the bytes: the first candidate prefix (above) that
// decodes as a keyed archive of a dictionary. ErrorCode::Corrupt when there is none.
Result<Dictionary> decodeFirstDictionary(std::span<const std::uint8_t> bytes);

} // namespace velmora::keyed_archive
