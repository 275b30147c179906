#include "core/eventlog/DateHistory.h"

namespace velmora {

void DateHistory::appear(std::string_view oldFormat, std::string_view newFormat,
                         const SeverityLevels& levels) {
    m_entries.push_back({true, std::string(oldFormat), std::string(newFormat), levels});
}

std::uint32_t DateHistory::decorate(std::string_view newFormat, const SeverityLevels& levels) {
    if (m_entries.empty() || m_entries.back().newFormat != newFormat ||
        !(m_entries.back().levels == levels)) {
        m_entries.push_back({false, {}, std::string(newFormat), levels});
    }
    return epoch();
}

DateHistory::RowState DateHistory::initialState(std::optional<std::string_view> date,
                                                bool decorated, std::uint32_t startEpoch,
                                                Severity severity) const {
    RowState state{date ? std::optional<std::string>(*date) : std::nullopt, std::nullopt,
                   startEpoch};
    if (decorated && startEpoch > 0) {
        const Entry& entry = m_entries[startEpoch - 1];
        if (state.date) {
            const DateFormat& writing = m_formats.get(entry.newFormat);
            state.date = convertDate(*state.date, *state.date, writing, writing);
        }
        state.image = entry.levels.levelOf(severity);
    }
    return state;
}

void DateHistory::advance(RowState& state, Severity severity, std::uint32_t endEpoch) const {
    const std::uint32_t end = std::min(endEpoch, epoch());
    for (; state.epoch < end; ++state.epoch) {
        rewrite(state, m_entries[state.epoch], severity);
    }
}

void DateHistory::rewrite(RowState& state, const Entry& entry, Severity severity) const {
    if (!entry.appearance) {
        return;
    }
    if (state.date) {
        const std::string& date = *state.date;
        if (isDigitsOnly(date)) {
            const DateFormat& writing = m_formats.get(entry.newFormat);
            state.date = convertDate(date, date, writing, writing);
        } else if (entry.oldFormat != entry.newFormat) {
            state.date = convertDate(date, entry.oldFormat, m_formats.get(entry.oldFormat),
                                     m_formats.get(entry.newFormat));
        }
    }
    // A level outside 0 to 2 leaves the earlier image in place.
    if (const std::optional<Level> level = entry.levels.levelOf(severity)) {
        state.image = level;
    }
}

std::string DateHistory::formatTimestamp(std::string_view timestamp,
                                         std::string_view format) const {
    return m_formats.get(format).format(timestampFromText(timestamp));
}

std::optional<double> DateHistory::parseDisplayed(std::string_view text,
                                                  std::string_view format) const {
    return m_formats.get(format).parse(text);
}

} // namespace velmora
