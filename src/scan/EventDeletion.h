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

// Deleting events the table has already let go of: their lines are cut out of the log files and
// the dashboard's counters lowered by the lines really cut.
//
// The deletion table is built on the main thread, which alone may read the event list; the log
// files are rewritten on a worker thread, which touches nothing else. The counters are lowered
// when the worker is done, on the main thread again.
class EventDeletion : public PageTask {
    Q_OBJECT

public:
    // `events` have left the list (a removed event keeps its last date); `displayFormat` is the
    // format their dates were written in.
    EventDeletion(QWidget* page, EventStore& store, std::vector<EventId> events,
                  std::string_view displayFormat, std::string dataDirectory,
                  std::chrono::milliseconds progressDelay = kDefaultProgressDelay);
    // Waits for the worker: a rewrite is never left halfway.
    ~EventDeletion() override;

    // Once finished.
    const RewriteReport& report() const { return m_report; }

protected:
    Step step(Clock::time_point deadline) override;

private:
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
    void startRewrite();
};

} // namespace velmora
