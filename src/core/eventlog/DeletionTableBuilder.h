#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "core/eventlog/DateHistory.h"
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
//
// The table keeps the events' messages where the store holds them (DeletionTable::addEvent),
// which is for the store's life.
class DeletionTableBuilder {
public:
    // `displayFormat` is the delegate's newDateFormat: the format every shown date is written in.
    explicit DeletionTableBuilder(std::string_view displayFormat);

    // Room for this many events.
    void reserve(std::size_t events) { m_table.reserve(events); }

    void add(const EventStore& store, EventId event);
    // Takes back what add() entered for the event.
    void withdraw(const EventStore& store, EventId event);
    // The message must stay where it is as long as the table is used.
    void add(const std::optional<std::string>& displayedDate,
             std::optional<std::string_view> priority, std::optional<std::string_view> host,
             std::optional<std::string_view> message);

    // The table with every event added so far.
    DeletionTable& table();

private:
    DateTextReader m_format;
    DeletionTable m_table;
    // Events wait here to enter the table a batch at a time.
    std::array<DeletionTable::EventLine, DeletionTable::kBatch> m_batch{};
    std::size_t m_waiting = 0;
    DateHistory::RowState m_scratch;
    // Events of the same second stand together in the list: their date is read back once.
    std::string m_lastDate;
    std::optional<double> m_lastSeconds;

    // The instant of the displayed date, nullopt when it does not read back.
    std::optional<double> secondsOf(std::string_view displayedDate);
    void enterWaiting();
};

} // namespace velmora
