#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "core/presentation/DateFormat.h"

namespace velmora {

// Reads many display texts back into instants, each exactly as DateFormat::parse reads it, at a
// fraction of the cost when the texts are ones the format wrote, as the dates of the event list
// are: a deletion reads every chosen event's date back, and a change of format re-reads every
// date in the old one. ICU takes several microseconds a text.
//
// A text the format writes at second k of a minute is the minute's text with k in its second
// fields (DateFormat::MinuteText). For such a minute ICU reads the texts of seconds 0 and 59
// once; when they lie 59 seconds apart, the text of second k reads as the first plus k, since
// nothing but the second field differs between them and the zone's offset holds through the
// minute. Other texts, and minutes that do not pass that check, go to ICU one by one.
//
// Like DateFormat, not for use by two threads at once.
class DateTextReader {
public:
    explicit DateTextReader(std::string_view displayFormat = {});

    const std::string& displayFormat() const { return m_format.displayFormat(); }

    // The instant the text shows, or nullopt when it is not a text of this format.
    std::optional<double> parse(std::string_view text);

private:
    struct KnownMinute {
        DateFormat::MinuteText text;
        double first = 0; // the instant ICU reads from the text of second 0
    };
    static constexpr std::size_t kKnownMinutes = 4;

    DateFormat m_format;
    std::array<std::optional<KnownMinute>, kKnownMinutes> m_known; // the most recent first
    std::string m_scratch;

    // The second of `known` whose text `text` is.
    std::optional<int> secondOf(const KnownMinute& known, std::string_view text);
    void learn(std::string_view text, double instant);
    void remember(KnownMinute known, std::size_t at);
};

} // namespace velmora
