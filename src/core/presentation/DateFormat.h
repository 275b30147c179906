#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velmora {

// A display date format: reads and writes instants as text.
//
// The display format is what the user chose on the options page: a Unicode date pattern
// ("yyyy-MM-dd HH:mm:ss") in which every "AM/PM" stands for the day period and is replaced by
// "a" before use, or the empty text, which means the short date style followed by the medium
// time style. Texts always follow the root locale, never the user's regional settings (root:
// "2023-11-14 22:13:20", month names "M01" … "M12", day periods "AM" and "PM").
//
// The zone is the process's default zone at construction (see reloadDefaultTimeZone()); a
// format keeps it for its life.
//
// Parsing is strict, as the platform's date formatter is by default: the whole text must match
// the pattern up to its end (no trailing text, not even a space; the empty text never parses)
// and fields must be in range (no 30 February, no month 13, no 24:00). ICU still skips white
// space before the first field and lets a space of the pattern match a run of spaces. Fields
// the pattern lacks take their values from 1970-01-01 00:00:00 in the format's zone.
//
// Construction builds the formatter and costs tens of microseconds; format() and parse() reuse
// it and its calendar and cost a few microseconds, so single rows can be written on demand. One
// object must not be used by two threads at once, even through const calls: the formatter and its
// calendar are shared mutable state. Give each thread its own copy.
class DateFormat {
public:
    explicit DateFormat(std::string_view displayFormat = {});
    ~DateFormat();
    DateFormat(const DateFormat& other);
    DateFormat& operator=(const DateFormat& other);
    DateFormat(DateFormat&& other) noexcept;
    DateFormat& operator=(DateFormat&& other) noexcept;

    // The display format as given (before "AM/PM" is replaced).
    const std::string& displayFormat() const { return m_displayFormat; }
    // False when the pattern holds a letter that is no date field ("yyyy P"): such a format
    // writes the empty text and parses nothing.
    bool valid() const;

    // The instant (seconds since 1970-01-01 00:00:00 UTC) as display text; the empty text when
    // the instant cannot be written (the format is not valid, or the number is not finite).
    std::string format(double secondsSince1970) const;
    // The instant that the text shows, or nullopt when it is not a text of this format.
    std::optional<double> parse(std::string_view text) const;

    // Whether the text of an instant depends on nothing finer than its second: the pattern has
    // no fraction of a second and only fields known to stay the same through a minute but for
    // the seconds (no flexible day periods such as "noon", which ICU writes at one second only).
    bool writesWholeSeconds() const;

    // The texts of the whole seconds of one minute: the instant minute * 60 + k (0 <= k < 60)
    // is written literals[0], k, literals[1], k, ..., literals.back(), with k in ASCII digits
    // padded with zeros to secondDigits. One ICU call serves sixty seconds.
    struct MinuteText {
        std::vector<std::string> literals; // one more than the format has second fields
        int secondDigits = 0;

        // The text of second `second` (0 to 59) of the minute, into `out`.
        void write(int second, std::string& out) const;
    };
    // nullopt when that does not hold for this minute: writesWholeSeconds() is false, the time
    // zone changes its offset inside the minute, or the offset is no whole number of minutes
    // (local minutes then do not start with UTC ones).
    std::optional<MinuteText> minuteText(std::int64_t minute) const;

private:
    struct Impl;
    std::string m_displayFormat;
    std::unique_ptr<Impl> m_impl;
};

// Re-reads the process's time zone (TZ, else /etc/localtime) and makes it the default of every
// format built afterwards. The default zone is detected once, when the first format is built;
// a process that changes TZ later calls this and rebuilds its formats.
void reloadDefaultTimeZone();

// A time-stamp text read as a number the way the platform's string-to-double reading does:
// leading white space is skipped, then the longest prefix of the form [+-]digits[.digits]
// [e[+-]digits] is read and the rest ignored ("12abc" is 12); text without such a prefix reads
// as 0. The decimal point is always ".", whatever the C locale says. A magnitude too large
// for a double reads as an infinity, one too small as 0.
double timestampFromText(std::string_view text);

// Whether every character is a decimal digit of any script (Unicode category Nd). The empty
// text counts as digits only. Text that is not valid UTF-8 does not.
bool isDigitsOnly(std::string_view text);

// Rewrites a record's date in the writing format. When the date equals the format argument
// it is the server's time stamp (seconds since 1970); otherwise it is display text in the
// format argument's display format, read with `reading` (the caller builds it from that
// argument). nullopt when the date does not parse: the record then loses its date.
std::optional<std::string> convertDate(std::string_view date, std::string_view formatArgument,
                                       const DateFormat& reading, const DateFormat& writing);

} // namespace velmora
