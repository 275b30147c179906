#pragma once

#include <string>
#include <string_view>

namespace velmora {

// The "Message" of a filter: "*" matches any message; a text with "*" (any run of characters)
// or "?" (one character) is a wildcard pattern over the whole message; any other text matches
// a message that contains it. Case is ignored in all three, by Unicode case folding.
class MessagePattern {
public:
    explicit MessagePattern(std::string_view pattern = "*");

    bool matches(std::string_view message) const;

private:
    enum class Kind { Any, Wildcard, Contains };

    Kind m_kind = Kind::Any;
    bool m_ascii = true;
    std::string m_asciiLower; // the pattern in lower case, when it is ASCII
    std::u32string m_folded;  // the pattern case-folded
};

} // namespace velmora
