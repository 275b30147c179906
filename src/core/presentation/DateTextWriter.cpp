#include "core/presentation/DateTextWriter.h"

#include <cmath>

namespace velmora {

namespace {

// Beyond this (about the year 33,000) instants go to ICU one by one.
constexpr double kMaxWholeSecond = 1e12;
// An instant this close below the next second is not cached by its second.
constexpr double kSecondMargin = 0.999;

std::int64_t floorDivide(std::int64_t value, std::int64_t by) {
    const std::int64_t quotient = value / by;
    return (value % by != 0 && value < 0) ? quotient - 1 : quotient;
}

} // namespace

DateTextWriter::DateTextWriter(std::string_view displayFormat)
    : m_format(displayFormat) {}

std::optional<std::int64_t> DateTextWriter::wholeSecond(double secondsSince1970) const {
    if (!m_format.writesWholeSeconds() || !std::isfinite(secondsSince1970) ||
        std::fabs(secondsSince1970) > kMaxWholeSecond) {
        return std::nullopt;
    }
    // ICU reads the instant as secondsSince1970 * 1000 milliseconds and writes the second that
    // holds them. Away from the next second, that is the floor of the seconds.
    const double second = std::floor(secondsSince1970);
    if (secondsSince1970 - second >= kSecondMargin) {
        return std::nullopt;
    }
    return static_cast<std::int64_t>(second);
}

std::string_view DateTextWriter::format(double secondsSince1970) {
    if (const std::optional<std::int64_t> second = wholeSecond(secondsSince1970)) {
        writeSecond(*second);
    } else {
        m_text = m_format.format(secondsSince1970);
    }
    return m_text;
}

void DateTextWriter::writeSecond(std::int64_t second) {
    const std::int64_t minute = floorDivide(second, 60);
    const auto secondOfMinute = static_cast<int>(second - minute * 60);
    if (const std::optional<DateFormat::MinuteText>& text = minuteText(minute)) {
        text->write(secondOfMinute, m_text);
    } else {
        m_text = m_format.format(static_cast<double>(second));
    }
}

const std::optional<DateFormat::MinuteText>& DateTextWriter::minuteText(std::int64_t minute) {
    CachedMinute& cached = m_minutes[static_cast<std::uint64_t>(minute) & (kCachedMinutes - 1)];
    if (cached.filled && cached.minute == minute) {
        return cached.text;
    }
    cached.minute = minute;
    cached.filled = true;
    cached.text = m_minuteTextsTrusted ? m_format.minuteText(minute) : std::nullopt;
    // The first minute text is checked once against ICU itself at its last second; should
    // they ever differ, this format is written by ICU alone.
    if (cached.text && !m_minuteTextsChecked) {
        m_minuteTextsChecked = true;
        cached.text->write(59, m_text);
        m_minuteTextsTrusted = m_text == m_format.format(static_cast<double>(minute * 60 + 59));
        if (!m_minuteTextsTrusted) {
            cached.text.reset();
        }
    }
    return cached.text;
}

} // namespace velmora
