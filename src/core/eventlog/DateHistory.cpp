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
    RowState state;
    resetState(state, date, decorated, startEpoch, severity);
    return state;
}

void DateHistory::resetState(RowState& state, std::optional<std::string_view> date, bool decorated,
                             std::uint32_t startEpoch, Severity severity) const {
    // Assigned, not replaced: the state's text keeps its buffer from row to row.
    if (date) {
        if (!state.date) {
            state.date.emplace();
        }
        state.date->assign(*date);
    } else {
        state.date.reset();
    }
    state.image.reset();
    state.epoch = startEpoch;
    if (decorated && startEpoch > 0) {
        const Entry& entry = *entryAt(startEpoch - 1);
        if (state.date) {
            writeDate(state, timestampFromText(*state.date), entry.newFormat);
        }
        state.image = entry.levels.levelOf(severity);
    }
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
        if (isDigitsOnly(*state.date)) {
            changed = writeDate(state, timestampFromText(*state.date), entry.newFormat);
        } else if (entry.oldFormat != entry.newFormat) {
            if (const std::optional<double> instant =
                    m_formats.get(entry.oldFormat).reader.parse(*state.date)) {
                changed = writeDate(state, *instant, entry.newFormat);
            } else {
                state.date.reset();
                changed = true;
            }
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

bool DateHistory::writeDate(RowState& state, double instant, std::string_view format) const {
    const std::string_view text = m_formats.get(format).writer.format(instant);
    if (*state.date == text) {
        return false;
    }
    state.date->assign(text);
    return true;
}

std::string DateHistory::formatTimestamp(std::string_view timestamp,
                                         std::string_view format) const {
    return std::string(m_formats.get(format).writer.format(timestampFromText(timestamp)));
}

std::optional<double> DateHistory::parseDisplayed(std::string_view text,
                                                  std::string_view format) const {
    return m_formats.get(format).reader.parse(text);
}

} // namespace velmora
