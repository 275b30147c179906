#include "core/eventlog/Utf8.h"

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif
#if defined(__x86_64__) && (defined(__GNUC__) || defined(__clang__))
#define VELMORA_UTF8_AVX2 1
#include <immintrin.h>
#else
#define VELMORA_UTF8_AVX2 0
#endif

namespace velmora {

namespace {

constexpr std::uint64_t kHighBits = 0x8080808080808080ULL;
constexpr std::string_view kReplacement = "\xEF\xBF\xBD"; // U+FFFD

// One step of decoding: a well-formed sequence, or the maximal subpart of an ill-formed one.
struct Sequence {
    std::size_t length; // bytes taken, at least 1
    bool valid;
    bool astral; // a character above U+FFFF (two UTF-16 units)
};

// The allowed range of the second byte for each lead byte; the following bytes are always
// 80..BF. Bytes that start no sequence (ASCII is handled apart; 80..C1, F5..FF) have
// trailing == 0.
struct Lead {
    std::uint8_t trailing = 0;
    std::uint8_t low = 0;
    std::uint8_t high = 0;
};

constexpr std::array<Lead, 256> kLeads = [] {
    std::array<Lead, 256> leads{};
    for (std::size_t b = 0xC2; b <= 0xDF; ++b) {
        leads[b] = {1, 0x80, 0xBF};
    }
    for (std::size_t b = 0xE0; b <= 0xEF; ++b) {
        leads[b] = {2, 0x80, 0xBF};
    }
    leads[0xE0].low = 0xA0;  // no overlong three-byte forms
    leads[0xED].high = 0x9F; // no surrogates
    for (std::size_t b = 0xF0; b <= 0xF4; ++b) {
        leads[b] = {3, 0x80, 0xBF};
    }
    leads[0xF0].low = 0x90;  // no overlong four-byte forms
    leads[0xF4].high = 0x8F; // nothing above U+10FFFF
    return leads;
}();

// Decodes the non-ASCII sequence that starts at bytes[pos].
Sequence decodeAt(std::string_view bytes, std::size_t pos) noexcept {
    const Lead lead = kLeads[static_cast<unsigned char>(bytes[pos])];
    if (lead.trailing == 0) {
        return {1, false, false};
    }
    const std::size_t available = bytes.size() - pos - 1;
    const auto second = available > 0 ? static_cast<unsigned char>(bytes[pos + 1]) : 0;
    if (available == 0 || second < lead.low || second > lead.high) {
        return {1, false, false};
    }
    std::size_t taken = 2;
    while (taken <= lead.trailing) {
        if (taken > available || (static_cast<unsigned char>(bytes[pos + taken]) & 0xC0) != 0x80) {
            return {taken, false, false};
        }
        ++taken;
    }
    return {taken, true, lead.trailing == 3};
}

// The position of the first non-ASCII byte from pos on, or the size: sixteen bytes at a time
// with SSE2 (part of every x86-64), eight at a time in a word elsewhere.
std::size_t skipAscii(std::string_view bytes, std::size_t pos) noexcept {
    const char* data = bytes.data();
#if defined(__SSE2__)
    while (pos + 16 <= bytes.size()) {
        const __m128i chunk = _mm_loadu_si128(reinterpret_cast<const __m128i*>(data + pos));
        if (const int mask = _mm_movemask_epi8(chunk); mask != 0) {
            return pos + static_cast<std::size_t>(std::countr_zero(static_cast<unsigned>(mask)));
        }
        pos += 16;
    }
#endif
    if constexpr (std::endian::native == std::endian::little) {
        while (pos + 8 <= bytes.size()) {
            std::uint64_t word = 0;
            std::memcpy(&word, data + pos, 8);
            if (const std::uint64_t high = word & kHighBits; high != 0) {
                return pos + static_cast<std::size_t>(std::countr_zero(high) / 8);
            }
            pos += 8;
        }
    }
    while (pos < bytes.size() && static_cast<unsigned char>(data[pos]) < 0x80) {
        ++pos;
    }
    return pos;
}

bool isValidUtf8Scalar(std::string_view bytes) noexcept {
    std::size_t pos = 0;
    for (;;) {
        pos = skipAscii(bytes, pos);
        if (pos == bytes.size()) {
            return true;
        }
        // Non-ASCII characters tend to come together: decode them before looking for ASCII.
        do {
            const Sequence sequence = decodeAt(bytes, pos);
            if (!sequence.valid) {
                return false;
            }
            pos += sequence.length;
        } while (pos < bytes.size() && static_cast<unsigned char>(bytes[pos]) >= 0x80);
    }
}

#if VELMORA_UTF8_AVX2

// Validation 32 bytes at a time without branches, after the lookup algorithm of Keiser and
// Lemire ("Validating UTF-8 in less than one instruction per byte", 2021): three table
// lookups on the nibbles of each byte and of the byte before it flag every ill-formed pair of
// bytes, and a comparison with the bytes two and three places back finds the continuation
// bytes that are missing or too many. Text beyond ASCII costs a sequence-by-sequence decoder
// a mispredicted branch per character; this does not. AVX2 is chosen at run time, since the
// x86-64 baseline the build targets lacks it.
namespace simd {

enum : std::uint8_t {
    kTooShort = 1 << 0,     // a lead not followed by a continuation byte
    kTooLong = 1 << 1,      // a continuation byte after ASCII
    kOverlong3 = 1 << 2,    // E0 80..9F
    kTooLarge = 1 << 3,     // F4 90..BF, F5..FF
    kSurrogate = 1 << 4,    // ED A0..BF
    kOverlong2 = 1 << 5,    // C0, C1
    kTooLarge1000 = 1 << 6, // F5..FF 80..8F
    kOverlong4 = 1 << 6,    // F0 80..8F
    kTwoConts = 1 << 7,     // a continuation after a continuation: allowed where one is due
};
constexpr std::uint8_t kCarry = kTooShort | kTooLong | kTwoConts;
constexpr std::uint8_t kLarge = kCarry | kTooLarge | kTooLarge1000;
constexpr std::uint8_t kCont1000 =
    kTooLong | kOverlong2 | kTwoConts | kOverlong3 | kTooLarge1000 | kOverlong4;
constexpr std::uint8_t kCont1001 = kTooLong | kOverlong2 | kTwoConts | kOverlong3 | kTooLarge;
constexpr std::uint8_t kCont101 = kTooLong | kOverlong2 | kTwoConts | kSurrogate | kTooLarge;

using Table = std::array<std::uint8_t, 16>;
// The flags of the byte before, by its high nibble, then by its low nibble; of this byte by
// its high nibble.
constexpr Table kByte1High = {kTooLong,
                              kTooLong,
                              kTooLong,
                              kTooLong,
                              kTooLong,
                              kTooLong,
                              kTooLong,
                              kTooLong,
                              kTwoConts,
                              kTwoConts,
                              kTwoConts,
                              kTwoConts,
                              kTooShort | kOverlong2,
                              kTooShort,
                              kTooShort | kOverlong3 | kSurrogate,
                              kTooShort | kTooLarge | kTooLarge1000 | kOverlong4};
constexpr Table kByte1Low = {kCarry | kOverlong3 | kOverlong2 | kOverlong4,
                             kCarry | kOverlong2,
                             kCarry,
                             kCarry,
                             kCarry | kTooLarge,
                             kLarge,
                             kLarge,
                             kLarge,
                             kLarge,
                             kLarge,
                             kLarge,
                             kLarge,
                             kLarge,
                             kLarge | kSurrogate,
                             kLarge,
                             kLarge};
constexpr Table kByte2High = {kTooShort, kTooShort, kTooShort, kTooShort, kTooShort, kTooShort,
                              kTooShort, kTooShort, kCont1000, kCont1001, kCont101,  kCont101,
                              kTooShort, kTooShort, kTooShort, kTooShort};

struct State {
    __m256i error;
    __m256i previous;           // the block before
    __m256i previousIncomplete; // its last bytes that start a sequence it does not finish
};

[[gnu::target("avx2"), gnu::always_inline]] inline __m256i lookup(const Table& table,
                                                                  __m256i nibbles) noexcept {
    const __m256i lanes =
        _mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(&table)));
    return _mm256_shuffle_epi8(lanes, nibbles);
}

// The block's bytes moved N places on, the last N bytes of the block before in front.
template <int N>
[[gnu::target("avx2"), gnu::always_inline]] inline __m256i before(__m256i input,
                                                                  __m256i previous) noexcept {
    return _mm256_alignr_epi8(input, _mm256_permute2x128_si256(previous, input, 0x21), 16 - N);
}

// No shortcut for blocks of ASCII: in text that mixes ASCII and other characters, the branch
// would be mispredicted often enough to cost three times what it saves.
[[gnu::target("avx2"), gnu::always_inline]] inline void checkBlock(State& state,
                                                                   __m256i input) noexcept {
    const __m256i lowNibble = _mm256_set1_epi8(0x0F);
    const __m256i prev1 = before<1>(input, state.previous);
    const __m256i byte1High =
        lookup(kByte1High, _mm256_and_si256(_mm256_srli_epi16(prev1, 4), lowNibble));
    const __m256i byte1Low = lookup(kByte1Low, _mm256_and_si256(prev1, lowNibble));
    const __m256i byte2High =
        lookup(kByte2High, _mm256_and_si256(_mm256_srli_epi16(input, 4), lowNibble));
    const __m256i special = _mm256_and_si256(_mm256_and_si256(byte1High, byte1Low), byte2High);

    // Where the byte two places back starts a sequence of three or four bytes, or the byte
    // three places back one of four, this byte must be a continuation (flagged kTwoConts).
    const __m256i prev2 = before<2>(input, state.previous);
    const __m256i prev3 = before<3>(input, state.previous);
    const __m256i must23 = _mm256_or_si256(_mm256_subs_epu8(prev2, _mm256_set1_epi8(0xE0 - 0x80)),
                                           _mm256_subs_epu8(prev3, _mm256_set1_epi8(0xF0 - 0x80)));
    const __m256i must23High = _mm256_and_si256(must23, _mm256_set1_epi8(static_cast<char>(0x80)));
    state.error = _mm256_or_si256(state.error, _mm256_xor_si256(must23High, special));

    // A lead in the last three bytes that the block cannot finish.
    const __m256i maxComplete =
        _mm256_setr_epi8(-1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1,
                         -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, static_cast<char>(0xF0 - 1),
                         static_cast<char>(0xE0 - 1), static_cast<char>(0xC0 - 1));
    state.previousIncomplete = _mm256_subs_epu8(input, maxComplete);
    state.previous = input;
}

[[gnu::target("avx2")]] bool isValid(std::string_view bytes) noexcept {
    State state{_mm256_setzero_si256(), _mm256_setzero_si256(), _mm256_setzero_si256()};
    const char* data = bytes.data();
    std::size_t pos = 0;
    for (; pos + 32 <= bytes.size(); pos += 32) {
        checkBlock(state, _mm256_loadu_si256(reinterpret_cast<const __m256i*>(data + pos)));
    }
    if (pos < bytes.size()) {
        alignas(32) char tail[32] = {}; // NUL is ASCII: the padding ends any open sequence
        std::memcpy(tail, data + pos, bytes.size() - pos);
        checkBlock(state, _mm256_load_si256(reinterpret_cast<const __m256i*>(tail)));
    }
    const __m256i error = _mm256_or_si256(state.error, state.previousIncomplete);
    return _mm256_testz_si256(error, error) != 0;
}

bool available() noexcept {
    static const bool avx2 = __builtin_cpu_supports("avx2");
    return avx2;
}

} // namespace simd

#endif

} // namespace

bool isValidUtf8(std::string_view bytes) noexcept {
#if VELMORA_UTF8_AVX2
    if (bytes.size() >= 32 && simd::available()) {
        return simd::isValid(bytes);
    }
#endif
    return isValidUtf8Scalar(bytes);
}

std::string decodeLenient(std::string_view bytes) {
    if (isValidUtf8(bytes)) {
        return std::string(bytes);
    }
    std::string text;
    text.reserve(bytes.size() + bytes.size() / 2);
    std::size_t pos = 0;
    while (pos < bytes.size()) {
        const std::size_t ascii = skipAscii(bytes, pos);
        text.append(bytes.substr(pos, ascii - pos));
        pos = ascii;
        if (pos == bytes.size()) {
            break;
        }
        const Sequence sequence = decodeAt(bytes, pos);
        text.append(sequence.valid ? bytes.substr(pos, sequence.length) : kReplacement);
        pos += sequence.length;
    }
    return text;
}

std::size_t utf16Length(std::string_view bytes) noexcept {
    std::size_t units = 0;
    std::size_t pos = 0;
    while (pos < bytes.size()) {
        const std::size_t ascii = skipAscii(bytes, pos);
        units += ascii - pos;
        pos = ascii;
        if (pos == bytes.size()) {
            break;
        }
        const Sequence sequence = decodeAt(bytes, pos);
        units += sequence.astral ? 2 : 1;
        pos += sequence.length;
    }
    return units;
}

std::string_view utf8Prefix(std::string_view text, std::size_t maxBytes) noexcept {
    if (text.size() <= maxBytes) {
        return text;
    }
    std::size_t end = maxBytes;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) {
        --end;
    }
    return text.substr(0, end);
}

} // namespace velmora
