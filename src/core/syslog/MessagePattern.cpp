#include "core/syslog/MessagePattern.h"

#include <algorithm>

#include <unicode/unistr.h>

namespace velmora {

namespace {

bool isAscii(std::string_view text) {
    return std::all_of(text.begin(), text.end(),
                       [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

char asciiLower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

std::u32string caseFolded(std::string_view text) {
    icu::UnicodeString folded =
        icu::UnicodeString::fromUTF8(
            icu::StringPiece(text.data(), static_cast<int32_t>(text.size())))
            .foldCase();
    std::u32string out(static_cast<std::size_t>(folded.countChar32()), U'\0');
    UErrorCode status = U_ZERO_ERROR;
    folded.toUTF32(reinterpret_cast<UChar32*>(out.data()), static_cast<int32_t>(out.size()),
                   status);
    return out;
}

// `text` against a pattern of literal characters, "?" and "*", compared by `lower`. On a
// mismatch after a "*" the star takes one character more: linear for one star, at most
// text × pattern steps for several.
template <typename Char, typename Lower>
bool wildcardMatch(std::basic_string_view<Char> text, std::basic_string_view<Char> pattern,
                   Lower lower) {
    constexpr std::size_t kNone = std::basic_string_view<Char>::npos;
    std::size_t t = 0;
    std::size_t p = 0;
    std::size_t star = kNone;
    std::size_t starText = 0;
    while (t < text.size()) {
        if (p < pattern.size() && pattern[p] == Char('*')) {
            star = p++;
            starText = t;
        } else if (p < pattern.size() &&
                   (pattern[p] == Char('?') || lower(text[t]) == pattern[p])) {
            ++t;
            ++p;
        } else if (star != kNone) {
            p = star + 1;
            t = ++starText;
        } else {
            return false;
        }
    }
    while (p < pattern.size() && pattern[p] == Char('*')) {
        ++p;
    }
    return p == pattern.size();
}

template <typename Char, typename Lower>
bool contains(std::basic_string_view<Char> text, std::basic_string_view<Char> pattern,
              Lower lower) {
    return std::search(text.begin(), text.end(), pattern.begin(), pattern.end(),
                       [&lower](Char a, Char b) { return lower(a) == b; }) != text.end();
}

} // namespace

MessagePattern::MessagePattern(std::string_view pattern)
    : m_ascii(isAscii(pattern)) {
    if (pattern == "*") {
        return;
    }
    m_kind =
        pattern.find_first_of("*?") == std::string_view::npos ? Kind::Contains : Kind::Wildcard;
    if (m_ascii) {
        m_asciiLower.resize(pattern.size());
        std::transform(pattern.begin(), pattern.end(), m_asciiLower.begin(), asciiLower);
    }
    m_folded = caseFolded(pattern);
}

bool MessagePattern::matches(std::string_view message) const {
    if (m_kind == Kind::Any) {
        return true;
    }
    if (m_ascii && isAscii(message)) {
        const std::string_view pattern = m_asciiLower;
        return m_kind == Kind::Wildcard ? wildcardMatch(message, pattern, asciiLower)
                                        : contains(message, pattern, asciiLower);
    }
    const std::u32string folded = caseFolded(message);
    const auto same = [](char32_t c) { return c; };
    const std::u32string_view text = folded;
    const std::u32string_view pattern = m_folded;
    return m_kind == Kind::Wildcard ? wildcardMatch(text, pattern, same)
                                    : contains(text, pattern, same);
}

} // namespace velmora
