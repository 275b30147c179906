#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <future>
#include <optional>
#include <string>
#include <vector>

#include "core/eventlog/DeletionTableBuilder.h"
#include "core/eventlog/EventStore.h"
#include "core/eventlog/LogRewriter.h"
#include "scan/PageTask.h"

namespace velmora {

class EventTableModel;

// Deleting the events an administrator chose: they leave the table and the list, their lines
// are cut out of the log files and the dashboard's counters lowered by the lines really cut.
//
// First the deletion table is built, on the main thread, which alone may read the event list;
// a Cancel then leaves everything as it was. Then the chosen events still in the list leave it
// and the log files are rewritten on a worker thread, which touches nothing else: from then on
// the deletion runs to its end, as a file left half rewritten would lose lines. The counters
// are lowered when the worker is done, on the main thread again.
class EventDeletion : public PageTask {
    Q_OBJECT

public:
    // `events` (ascending) were chosen while their dates were shown in `displayFormat`.
    EventDeletion(QWidget* page, EventTableModel& model, std::vector<EventId> events,
                  std::string_view displayFormat, std::string dataDirectory,
                  std::chrono::milliseconds progressDelay = kDefaultProgressDelay);
    // Waits for the worker: a rewrite is never left halfway.
    ~EventDeletion() override;

    // Once finished.
    const RewriteReport& report() const { return m_report; }

signals:
    // The chosen events have left the table; the files are being rewritten.
    void rowsRemoved();

protected:
    Step step(Clock::time_point deadline) override;
    bool cancel() override;

private:
    EventTableModel& m_model;
    EventStore& m_store;
    std::vector<EventId> m_events;
    std::size_t m_next = 0; // the next event to enter the table
    DeletionTableBuilder m_builder;
    std::string m_dataDirectory;

    std::atomic<std::uint64_t> m_bytesDone{0};
    std::atomic<std::uint64_t> m_bytesTotal{0};
    std::future<RewriteReport> m_rewrite;
    RewriteReport m_report;

    bool buildTable(Clock::time_point deadline);
    void removeFromList();
    void startRewrite();
};

} // namespace velmora
