#include "core/presentation/DateFormat.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <ctime>
#include <limits>
#include <system_error>

#include <unicode/basictz.h>
#include <unicode/calendar.h>
#include <unicode/datefmt.h>
#include <unicode/fpositer.h>
#include <unicode/locid.h>
#include <unicode/parsepos.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>
#include <unicode/tztrans.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

namespace velmora {

namespace {

constexpr double kMillisPerSecond = 1000.0;
constexpr double kMillisPerMinute = 60000.0;
// Minutes beyond this (about the year 20,000) are left to ICU one instant at a time.
constexpr std::int64_t kMaxTemplateMinute = std::int64_t{1} << 33;

std::string icuPattern(std::string_view displayFormat) {
    constexpr std::string_view marker = "AM/PM";
    std::string pattern;
    std::size_t from = 0;
    for (std::size_t at = displayFormat.find(marker); at != std::string_view::npos;
         at = displayFormat.find(marker, from)) {
        pattern.append(displayFormat.substr(from, at - from)).append("a");
        from = at + marker.size();
    }
    pattern.append(displayFormat.substr(from));
    return pattern;
}

std::unique_ptr<icu::DateFormat> createFormatter(std::string_view displayFormat) {
    std::unique_ptr<icu::DateFormat> formatter;
    UErrorCode status = U_ZERO_ERROR;
    if (displayFormat.empty()) {
        formatter.reset(icu::DateFormat::createDateTimeInstance(
            icu::DateFormat::kShort, icu::DateFormat::kMedium, icu::Locale::getRoot()));
    } else {
        formatter = std::make_unique<icu::SimpleDateFormat>(
            icu::UnicodeString::fromUTF8(icuPattern(displayFormat)), icu::Locale::getRoot(),
            status);
    }
    if (!formatter || U_FAILURE(status)) {
        return nullptr;
    }
    formatter->setLenient(false);
    return formatter;
}

// Pattern letters whose text is the same at every second of a local minute, but for "s" itself:
// eras, years, quarters, months, weeks, days, day periods am/pm, hours, minutes and zones. Not
// "S" and "A" (finer than a second), nor "b" and "B" (noon and midnight are single seconds).
constexpr std::u16string_view kMinuteSteadyLetters = u"GyYuUrQqMLwWdDFgEecahHKkmszZOvVXx";

// Whether every pattern letter outside quotes is one of kMinuteSteadyLetters.
bool hasOnlyMinuteSteadyFields(const icu::UnicodeString& pattern) {
    bool quoted = false;
    for (std::int32_t i = 0; i < pattern.length(); ++i) {
        const char16_t c = pattern.charAt(i);
        if (c == u'\'') {
            quoted = !quoted;
        } else if (!quoted && ((c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z')) &&
                   kMinuteSteadyLetters.find(c) == std::u16string_view::npos) {
            return false;
        }
    }
    return true;
}

// The pattern of a formatter; empty for one that is no SimpleDateFormat.
icu::UnicodeString patternOf(const icu::DateFormat& formatter) {
    icu::UnicodeString pattern;
    if (const auto* simple = dynamic_cast<const icu::SimpleDateFormat*>(&formatter)) {
        simple->toPattern(pattern);
    }
    return pattern;
}

bool writesWholeSecondsOnly(const icu::DateFormat& formatter) {
    const icu::UnicodeString pattern = patternOf(formatter);
    return !pattern.isEmpty() && hasOnlyMinuteSteadyFields(pattern);
}

// Whether the pattern has a zone field outside quotes, which a parse reads into the calendar.
bool hasZoneField(const icu::DateFormat& formatter) {
    constexpr std::u16string_view kZoneLetters = u"zZOvVXx";
    const icu::UnicodeString pattern = patternOf(formatter);
    bool quoted = false;
    for (std::int32_t i = 0; i < pattern.length(); ++i) {
        const char16_t c = pattern.charAt(i);
        quoted = c == u'\'' ? !quoted : quoted;
        if (!quoted && kZoneLetters.find(c) != std::u16string_view::npos) {
            return true;
        }
    }
    return false;
}

// Whether the zone keeps one offset, a whole number of minutes, from `start` for a minute.
bool zoneSteadyForAMinute(const icu::TimeZone& zone, UDate start) {
    const auto* basic = dynamic_cast<const icu::BasicTimeZone*>(&zone);
    if (basic == nullptr) {
        return false;
    }
    UErrorCode status = U_ZERO_ERROR;
    std::int32_t raw = 0;
    std::int32_t dst = 0;
    basic->getOffset(start, false, raw, dst, status);
    if (U_FAILURE(status) || (raw + dst) % static_cast<std::int32_t>(kMillisPerMinute) != 0) {
        return false;
    }
    icu::TimeZoneTransition next;
    return !basic->getNextTransition(start, false, next) ||
           next.getTime() >= start + kMillisPerMinute;
}

std::string toUtf8(const icu::UnicodeString& text, std::int32_t begin, std::int32_t end) {
    std::string out;
    text.tempSubStringBetween(begin, end).toUTF8String(out);
    return out;
}

bool isAsciiDigit(char c) {
    return c >= '0' && c <= '9';
}

bool isAsciiSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

// from_chars reports a number too large or too small for a double without a value; decide
// which from its decimal magnitude: significant integer digits, or minus the zeros after the
// point, plus the exponent.
double outOfRangeValue(const char* first, const char* last) {
    long magnitude = 0;
    const char* p = first;
    while (p != last && *p == '0') {
        ++p;
    }
    for (; p != last && isAsciiDigit(*p); ++p) {
        ++magnitude;
    }
    if (magnitude == 0 && p != last && *p == '.') {
        for (++p; p != last && *p == '0'; ++p) {
            --magnitude;
        }
    }
    while (p != last && *p != 'e' && *p != 'E') {
        ++p;
    }
    if (p != last) {
        ++p;
        const bool negative = p != last && *p == '-';
        if (p != last && (*p == '-' || *p == '+')) {
            ++p;
        }
        long exponent = 0;
        if (std::from_chars(p, last, exponent).ec == std::errc::result_out_of_range) {
            exponent = std::numeric_limits<long>::max() / 2;
        }
        magnitude = negative ? magnitude - exponent : magnitude + exponent;
    }
    return magnitude > 0 ? std::numeric_limits<double>::infinity() : 0.0;
}

} // namespace

struct DateFormat::Impl {
    std::unique_ptr<icu::DateFormat> formatter;
    // Formatting and parsing through the formatter's own entry points clone its calendar on
    // every call; one working calendar kept here avoids that allocation.
    std::unique_ptr<icu::Calendar> calendar;
    // Parsing a text with a zone field sets the calendar's zone to the text's; in a format with
    // one, the format's own zone is put back after each parse, so that the texts written later
    // are in it.
    std::unique_ptr<icu::TimeZone> zone;
    bool parsesZone;
    icu::UnicodeString buffer;

    bool wholeSeconds;

    explicit Impl(std::unique_ptr<icu::DateFormat> f)
        : formatter(std::move(f))
        , calendar(formatter->getCalendar()->clone())
        , zone(calendar ? calendar->getTimeZone().clone() : nullptr)
        , parsesZone(hasZoneField(*formatter))
        , wholeSeconds(writesWholeSecondsOnly(*formatter)) {}

    Impl(const Impl& other)
        : formatter(other.formatter->clone())
        , calendar(other.calendar->clone())
        , zone(other.zone->clone())
        , parsesZone(other.parsesZone)
        , wholeSeconds(other.wholeSeconds) {}

    // Checks the pattern once: ICU accepts unknown pattern letters when it builds the formatter
    // and fails only when it writes them.
    bool writes() {
        UErrorCode status = U_ZERO_ERROR;
        calendar->setTime(0, status);
        buffer.remove();
        formatter->format(*calendar, buffer, nullptr, status);
        return U_SUCCESS(status);
    }
};

DateFormat::DateFormat(std::string_view displayFormat)
    : m_displayFormat(displayFormat) {
    if (auto formatter = createFormatter(displayFormat)) {
        m_impl = std::make_unique<Impl>(std::move(formatter));
        if (!m_impl->calendar || !m_impl->writes()) {
            m_impl.reset();
        }
    }
}

DateFormat::~DateFormat() = default;

DateFormat::DateFormat(const DateFormat& other)
    : m_displayFormat(other.m_displayFormat)
    , m_impl(other.m_impl ? std::make_unique<Impl>(*other.m_impl) : nullptr) {}

DateFormat& DateFormat::operator=(const DateFormat& other) {
    if (this != &other) {
        DateFormat copy(other);
        *this = std::move(copy);
    }
    return *this;
}

DateFormat::DateFormat(DateFormat&& other) noexcept = default;
DateFormat& DateFormat::operator=(DateFormat&& other) noexcept = default;

bool DateFormat::valid() const {
    return m_impl != nullptr;
}

std::string DateFormat::format(double secondsSince1970) const {
    std::string text;
    if (!m_impl || !std::isfinite(secondsSince1970)) {
        return text;
    }
    UErrorCode status = U_ZERO_ERROR;
    m_impl->calendar->setTime(secondsSince1970 * kMillisPerSecond, status);
    m_impl->buffer.remove();
    m_impl->formatter->format(*m_impl->calendar, m_impl->buffer, nullptr, status);
    if (U_SUCCESS(status)) {
        m_impl->buffer.toUTF8String(text);
    }
    return text;
}

std::optional<double> DateFormat::parse(std::string_view text) const {
    if (!m_impl || text.empty()) {
        return std::nullopt;
    }
    m_impl->buffer = icu::UnicodeString::fromUTF8(
        icu::StringPiece(text.data(), static_cast<std::int32_t>(text.size())));
    icu::ParsePosition position(0);
    icu::Calendar& calendar = *m_impl->calendar;
    calendar.clear();
    m_impl->formatter->parse(m_impl->buffer, calendar, position);
    UErrorCode status = U_ZERO_ERROR;
    const bool parsed =
        position.getErrorIndex() < 0 && position.getIndex() == m_impl->buffer.length();
    const UDate millis = parsed ? calendar.getTime(status) : 0;
    if (m_impl->parsesZone) {
        calendar.setTimeZone(*m_impl->zone);
    }
    if (!parsed || U_FAILURE(status)) {
        return std::nullopt;
    }
    return millis / kMillisPerSecond;
}

bool DateFormat::writesWholeSeconds() const {
    return m_impl && m_impl->wholeSeconds;
}

std::optional<DateFormat::MinuteText> DateFormat::minuteText(std::int64_t minute) const {
    if (!writesWholeSeconds() || minute > kMaxTemplateMinute || minute < -kMaxTemplateMinute) {
        return std::nullopt;
    }
    const UDate start = static_cast<double>(minute) * kMillisPerMinute;
    if (!zoneSteadyForAMinute(m_impl->calendar->getTimeZone(), start)) {
        return std::nullopt;
    }
    UErrorCode status = U_ZERO_ERROR;
    m_impl->calendar->setTime(start, status);
    m_impl->buffer.remove();
    icu::FieldPositionIterator fields;
    m_impl->formatter->format(*m_impl->calendar, m_impl->buffer, &fields, status);
    if (U_FAILURE(status)) {
        return std::nullopt;
    }
    // At second 0 every second field reads as zeros, as many as the field is wide.
    MinuteText text;
    std::int32_t literalStart = 0;
    icu::FieldPosition field;
    while (fields.next(field)) {
        if (field.getField() != UDAT_SECOND_FIELD) {
            continue;
        }
        const std::int32_t width = field.getEndIndex() - field.getBeginIndex();
        const icu::UnicodeString zeros = m_impl->buffer.tempSubString(field.getBeginIndex(), width);
        if (width == 0 || (text.secondDigits != 0 && width != text.secondDigits) ||
            zeros != icu::UnicodeString(width, U'0', width)) {
            return std::nullopt;
        }
        text.secondDigits = width;
        text.literals.push_back(toUtf8(m_impl->buffer, literalStart, field.getBeginIndex()));
        literalStart = field.getEndIndex();
    }
    text.literals.push_back(toUtf8(m_impl->buffer, literalStart, m_impl->buffer.length()));
    return text;
}

void DateFormat::MinuteText::write(int second, std::string& out) const {
    const std::array<char, 2> digits = {static_cast<char>('0' + second / 10),
                                        static_cast<char>('0' + second % 10)};
    const std::string_view value =
        second < 10 ? std::string_view(&digits[1], 1) : std::string_view(digits.data(), 2);
    out.clear();
    out += literals.front();
    for (std::size_t i = 1; i < literals.size(); ++i) {
        if (static_cast<int>(value.size()) < secondDigits) {
            out.append(static_cast<std::size_t>(secondDigits) - value.size(), '0');
        }
        out += value;
        out += literals[i];
    }
}

void reloadDefaultTimeZone() {
    tzset();
    icu::TimeZone::adoptDefault(icu::TimeZone::detectHostTimeZone());
}

double timestampFromText(std::string_view text) {
    const char* p = text.data();
    const char* last = p + text.size();
    while (p != last && isAsciiSpace(*p)) {
        ++p;
    }
    bool negative = false;
    if (p != last && (*p == '+' || *p == '-')) {
        negative = *p == '-';
        ++p;
    }
    // from_chars would also take "inf", "nan" and a second sign, which are no number here.
    const bool startsNumber =
        p != last && (isAsciiDigit(*p) || (*p == '.' && p + 1 != last && isAsciiDigit(p[1])));
    if (!startsNumber) {
        return 0.0;
    }
    // The server's whole seconds, read in one go: up to 15 digits and nothing of a number after
    // them are an integer that a double holds exactly.
    constexpr int kExactDigits = 15;
    std::int64_t whole = 0;
    const char* digit = p;
    for (; digit != last && isAsciiDigit(*digit) && digit - p < kExactDigits; ++digit) {
        whole = whole * 10 + (*digit - '0');
    }
    if (digit == last ||
        (!isAsciiDigit(*digit) && *digit != '.' && *digit != 'e' && *digit != 'E')) {
        const auto exact = static_cast<double>(whole);
        return negative ? -exact : exact;
    }
    double value = 0.0;
    const auto [end, ec] = std::from_chars(p, last, value, std::chars_format::general);
    if (ec == std::errc::result_out_of_range) {
        value = outOfRangeValue(p, end);
    } else if (ec != std::errc()) {
        return 0.0;
    }
    return negative ? -value : value;
}

bool isDigitsOnly(std::string_view text) {
    const auto firstOther = std::find_if_not(text.begin(), text.end(), isAsciiDigit);
    if (firstOther == text.end()) {
        return true;
    }
    // Bytes that are no UTF-8 decode as U+FFFD, which is no digit.
    const auto rest = text.substr(static_cast<std::size_t>(firstOther - text.begin()));
    const icu::UnicodeString decoded = icu::UnicodeString::fromUTF8(
        icu::StringPiece(rest.data(), static_cast<std::int32_t>(rest.size())));
    for (std::int32_t i = 0; i < decoded.length(); i = decoded.moveIndex32(i, 1)) {
        if (!u_isdigit(decoded.char32At(i))) {
            return false;
        }
    }
    return true;
}

std::optional<std::string> convertDate(std::string_view date, std::string_view formatArgument,
                                       const DateFormat& reading, const DateFormat& writing) {
    const std::optional<double> instant = date == formatArgument
                                              ? std::optional<double>(timestampFromText(date))
                                              : reading.parse(date);
    if (!instant) {
        return std::nullopt;
    }
    return writing.format(*instant);
}

} // namespace velmora
