#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "core/eventlog/DeletionTable.h"
#include "core/eventlog/EventStore.h"
#include "core/presentation/DateTextReader.h"

namespace velmora {

// Turns the events a user selected for deletion into the lines to cut out of the log files.
//
// An event's line is made from what the events page shows: its displayed date is read back into
// an instant with the current display format, whose seconds stand first in the line. So an event
// shown in a format without seconds, or whose date no longer reads back, gives a line that is
// not the one in the files; such an event, and one that lacks a field (no line of a log file
// lacks one), is left out of the table: it leaves the events table, its line stays in the files.
class DeletionTableBuilder {
public:
    // `displayFormat` is the delegate's newDateFormat: the format every shown date is written in.
    explicit DeletionTableBuilder(std::string_view displayFormat);

    void add(const EventStore& store, EventId event);
    // Takes back what add() entered for the event.
    void withdraw(const EventStore& store, EventId event);
    void add(const std::optional<std::string>& displayedDate,
             std::optional<std::string_view> priority, std::optional<std::string_view> host,
             std::optional<std::string_view> message);

    DeletionTable& table() { return m_table; }

private:
    DateTextReader m_format;
    DeletionTable m_table;
    // Events of the same second stand together in the list: their date is read back once.
    std::optional<std::string> m_lastDate;
    std::optional<double> m_lastSeconds;

    std::optional<std::string> lineOf(const std::optional<std::string>& displayedDate,
                                      std::optional<std::string_view> priority,
                                      std::optional<std::string_view> host,
                                      std::optional<std::string_view> message);
};

} // namespace velmora
