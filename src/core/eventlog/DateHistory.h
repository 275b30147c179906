#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/presentation/DateFormat.h"
#include "core/presentation/DateFormatCache.h"
#include "core/presentation/Severity.h"

namespace velmora {

// The events page rewrites every row's date and image each time it appears: a row whose date is
// a server time stamp gets it formatted in the new display format; a row already written in a
// format is re-read in the old format and written in the new one when the two differ (the old
// format, not the one the row was really written in: a row that does not parse loses its date);
// every row gets the image of its severity's current level. Doing that eagerly costs seconds
// over ten million rows. Instead each appearance is recorded here once, and a row's date and
// image are worked out when the row is looked at, by replaying the appearances it lived
// through. The results are those of the eager rewrite.
//
// Time is counted in epochs: every appearance, and every change of the format that rows shown
// at once are decorated with, is one epoch. Consecutive appearances with the same formats and
// levels share one entry: replaying it n times stops as soon as a row stops changing (a
// rewrite is a function of the row, so a row it leaves as it was stays so), which is after the
// first or second time for any real format. So a row looked at after hundreds of showings
// replays one entry per change of formats or levels, not one per showing.
class DateHistory {
public:
    // What a row shows after the appearances up to `epoch`.
    struct RowState {
        std::optional<std::string> date;
        std::optional<Level> image;
        std::uint32_t epoch = 0;
    };

    // The current epoch: a row inserted now has lived through none of the epochs before it.
    std::uint32_t epoch() const { return m_epoch; }

    // The page appears with these formats (the delegate's oldDateFormat and newDateFormat) and
    // severity levels: every row in the list at this moment is rewritten.
    void appear(std::string_view oldFormat, std::string_view newFormat,
                const SeverityLevels& levels);

    // A row is about to be inserted while the page is on screen, decorated at once with this
    // format and these levels. Returns its start epoch.
    std::uint32_t decorate(std::string_view newFormat, const SeverityLevels& levels);

    // The state of a row right after its insertion at `startEpoch`. A decorated row has its date
    // read as a time stamp (whatever it holds) and written in the decoration's format.
    RowState initialState(std::optional<std::string_view> date, bool decorated,
                          std::uint32_t startEpoch, Severity severity) const;
    // The same into an existing state, whose text keeps its buffer: for passes over many rows.
    void resetState(RowState& state, std::optional<std::string_view> date, bool decorated,
                    std::uint32_t startEpoch, Severity severity) const;

    // Replays the appearances from state.epoch up to `endEpoch` (exclusive; a row removed from
    // the list stops changing), or up to now.
    void advance(RowState& state, Severity severity, std::uint32_t endEpoch = UINT32_MAX) const;

    // The number of distinct entries recorded, for tests and figures.
    std::size_t entryCount() const { return m_entries.size(); }

    // The display text of a time stamp in a format, as `removeEvent:` and the popup test use it.
    std::string formatTimestamp(std::string_view timestamp, std::string_view format) const;
    // The instant of a display text in a format, as deletion reads it back.
    std::optional<double> parseDisplayed(std::string_view text, std::string_view format) const;

private:
    struct Entry {
        std::uint32_t firstEpoch;
        std::uint32_t repeats;
        bool appearance; // false: only a decoration format for rows inserted after it
        std::string oldFormat;
        std::string newFormat;
        SeverityLevels levels;
    };
    std::vector<Entry> m_entries; // ascending firstEpoch, one entry for every epoch
    std::uint32_t m_epoch = 0;
    mutable DateFormatCache m_formats;

    std::vector<Entry>::const_iterator entryAt(std::uint32_t epoch) const;
    // Replays an entry up to `times` times; stops early once the row no longer changes.
    void replay(RowState& state, const Entry& entry, Severity severity, std::uint32_t times) const;
    // One appearance; returns whether the row changed.
    bool rewrite(RowState& state, const Entry& entry, Severity severity) const;
    // Writes the instant as the state's date (which it has); returns whether that changed it.
    bool writeDate(RowState& state, double instant, std::string_view format) const;
};

} // namespace velmora
