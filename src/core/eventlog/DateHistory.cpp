#include "core/eventlog/DateHistory.h"

#include <algorithm>

namespace velmora {

void DateHistory::appear(std::string_view oldFormat, std::string_view newFormat,
                         const SeverityLevels& levels) {
    if (!m_entries.empty()) {
        Entry& last = m_entries.back();
        if (last.appearance && last.oldFormat == oldFormat && last.newFormat == newFormat &&
            last.levels == levels) {
            ++last.repeats;
            ++m_epoch;
            return;
        }
    }
    m_entries.push_back({m_epoch, 1, true, std::string(oldFormat), std::string(newFormat), levels});
    ++m_epoch;
}

std::uint32_t DateHistory::decorate(std::string_view newFormat, const SeverityLevels& levels) {
    if (m_entries.empty() || m_entries.back().newFormat != newFormat ||
        !(m_entries.back().levels == levels)) {
        m_entries.push_back({m_epoch, 1, false, {}, std::string(newFormat), levels});
        ++m_epoch;
    }
    return m_epoch;
}

std::vector<DateHistory::Entry>::const_iterator DateHistory::entryAt(std::uint32_t epoch) const {
    const auto after =
        std::upper_bound(m_entries.begin(), m_entries.end(), epoch,
                         [](std::uint32_t e, const Entry& entry) { return e < entry.firstEpoch; });
    return std::prev(after);
}

DateHistory::RowState DateHistory::initialState(std::optional<std::string_view> date,
                                                bool decorated, std::uint32_t startEpoch,
                                                Severity severity) const {
    RowState state{date ? std::optional<std::string>(*date) : std::nullopt, std::nullopt,
                   startEpoch};
    if (decorated && startEpoch > 0) {
        const Entry& entry = *entryAt(startEpoch - 1);
        if (state.date) {
            const DateFormat& writing = m_formats.get(entry.newFormat);
            state.date = convertDate(*state.date, *state.date, writing, writing);
        }
        state.image = entry.levels.levelOf(severity);
    }
    return state;
}

void DateHistory::advance(RowState& state, Severity severity, std::uint32_t endEpoch) const {
    const std::uint32_t end = std::min(endEpoch, m_epoch);
    if (state.epoch >= end) {
        return;
    }
    for (auto entry = entryAt(state.epoch); state.epoch < end; ++entry) {
        const std::uint32_t stop = std::min(entry->firstEpoch + entry->repeats, end);
        replay(state, *entry, severity, stop - state.epoch);
        state.epoch = stop;
    }
}

void DateHistory::replay(RowState& state, const Entry& entry, Severity severity,
                         std::uint32_t times) const {
    if (!entry.appearance) {
        return;
    }
    for (; times > 0; --times) {
        if (!rewrite(state, entry, severity)) {
            return;
        }
    }
}

bool DateHistory::rewrite(RowState& state, const Entry& entry, Severity severity) const {
    bool changed = false;
    if (state.date) {
        const std::string& date = *state.date;
        std::optional<std::string> rewritten;
        if (isDigitsOnly(date)) {
            const DateFormat& writing = m_formats.get(entry.newFormat);
            rewritten = convertDate(date, date, writing, writing);
            changed = rewritten != state.date;
        } else if (entry.oldFormat != entry.newFormat) {
            rewritten = convertDate(date, entry.oldFormat, m_formats.get(entry.oldFormat),
                                    m_formats.get(entry.newFormat));
            changed = rewritten != state.date;
        }
        if (changed) {
            state.date = std::move(rewritten);
        }
    }
    // A level outside 0 to 2 leaves the earlier image in place.
    if (const std::optional<Level> level = entry.levels.levelOf(severity);
        level && level != state.image) {
        state.image = level;
        changed = true;
    }
    return changed;
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
