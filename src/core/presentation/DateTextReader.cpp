#include "core/presentation/DateTextReader.h"

#include <cmath>
#include <utility>

namespace velmora {

namespace {

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

// The seconds the digits at `at` may stand for: one candidate for a field of fixed width, two
// (one digit, or two) for a field of width one.
std::array<int, 2> candidateSeconds(std::string_view text, std::size_t at, int width) {
    std::array<int, 2> candidates = {-1, -1};
    const auto digitAt = [&](std::size_t i) {
        return at + i < text.size() && isDigit(text[at + i]) ? text[at + i] - '0' : -1;
    };
    if (width >= 2) {
        int value = 0;
        for (int i = 0; i < width && value >= 0; ++i) {
            const int digit = digitAt(static_cast<std::size_t>(i));
            value = digit < 0 || value > 5 ? -1 : value * 10 + digit;
        }
        candidates[0] = value;
    } else if (const int first = digitAt(0); first >= 0) {
        candidates[0] = first;
        if (const int second = digitAt(1); second >= 0 && first > 0) {
            candidates[1] = first * 10 + second;
        }
    }
    return candidates;
}

} // namespace

DateTextReader::DateTextReader(std::string_view displayFormat)
    : m_format(displayFormat) {}

std::optional<double> DateTextReader::parse(std::string_view text) {
    for (std::size_t i = 0; i < m_known.size() && m_known[i]; ++i) {
        if (const std::optional<int> second = secondOf(*m_known[i], text)) {
            const double instant = m_known[i]->first + *second;
            if (i > 0) {
                remember(std::move(*m_known[i]), i);
            }
            return instant;
        }
    }
    const std::optional<double> instant = m_format.parse(text);
    if (instant && m_format.writesWholeSeconds()) {
        learn(text, *instant);
    }
    return instant;
}

std::optional<int> DateTextReader::secondOf(const KnownMinute& known, std::string_view text) {
    const DateFormat::MinuteText& minute = known.text;
    const std::string& head = minute.literals.front();
    if (minute.literals.size() == 1) {
        return text == head ? std::optional<int>(0) : std::nullopt;
    }
    if (!text.starts_with(head)) {
        return std::nullopt;
    }
    for (const int second : candidateSeconds(text, head.size(), minute.secondDigits)) {
        if (second >= 0 && second < 60) {
            minute.write(second, m_scratch);
            if (m_scratch == text) {
                return second;
            }
        }
    }
    return std::nullopt;
}

void DateTextReader::learn(std::string_view text, double instant) {
    // Minutes this far out are left to ICU (and would not fit the minute's number).
    constexpr double kFarInstant = 1e15;
    if (!(std::fabs(instant) < kFarInstant)) {
        return;
    }
    std::optional<DateFormat::MinuteText> minute =
        m_format.minuteText(static_cast<std::int64_t>(std::floor(instant / 60)));
    if (!minute) {
        return;
    }
    KnownMinute known{std::move(*minute), 0};
    const std::optional<int> second = secondOf(known, text);
    if (!second) {
        return;
    }
    known.text.write(0, m_scratch);
    const std::optional<double> first = m_format.parse(m_scratch);
    known.text.write(59, m_scratch);
    const std::optional<double> last = m_format.parse(m_scratch);
    const bool secondsCount = known.text.literals.size() > 1;
    if (!first || *first + *second != instant ||
        (secondsCount && (!last || *first + 59 != *last))) {
        return;
    }
    known.first = *first;
    remember(std::move(known), m_known.size() - 1);
}

void DateTextReader::remember(KnownMinute known, std::size_t at) {
    // Moves the entries before `at` one down, dropping the one at `at`, and puts `known` first.
    for (std::size_t i = at; i > 0; --i) {
        m_known[i] = std::move(m_known[i - 1]);
    }
    m_known[0] = std::move(known);
}

} // namespace velmora
