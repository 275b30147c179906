#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace velmora {

// Log files are 8-bit text that the console reads as UTF-8. A field that is not valid UTF-8
// keeps its line: it is decoded leniently, each ill-formed part becoming one U+FFFD. The
// administrator must see every event the server wrote, and the lenient reading is safe for
// deletion too: such a line can never match a deletion key (a key is made from the decoded
// text, which holds U+FFFD where the line holds other bytes), so it is never deleted and its
// bytes stay in the file exactly as they were.
//
// Valid UTF-8 is the well-formed form of the Unicode standard: no overlong forms, no surrogates
// (U+D800..U+DFFF), nothing above U+10FFFF.

// Whether the bytes are valid UTF-8. Where the processor has AVX2, text of 32 bytes or more is
// checked 32 bytes at a time; elsewhere runs of ASCII are skipped sixteen bytes at a time.
// Checking a whole block of lines at once is cheaper than checking each line.
bool isValidUtf8(std::string_view bytes) noexcept;

// The text of the bytes with every ill-formed part replaced by U+FFFD, one replacement per
// maximal subpart (the longest prefix of a well-formed sequence, or a single byte that can
// start none), as the Unicode standard recommends. Valid input comes back unchanged.
std::string decodeLenient(std::string_view bytes);

// The number of UTF-16 code units of the text: one per character, two for a character above
// U+FFFF. Meant for valid UTF-8; for other bytes it is the length of their lenient decoding.
std::size_t utf16Length(std::string_view bytes) noexcept;

// The longest beginning of the text of at most maxBytes bytes that does not end inside a
// character: for showing the start of a text too long to lay out whole.
std::string_view utf8Prefix(std::string_view text, std::size_t maxBytes) noexcept;

} // namespace velmora
