#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "core/Result.h"
#include "core/eventlog/EventStore.h"
#include "core/presentation/ExportText.h"
#include "core/system/AtomicFileWriter.h"
#include "scan/PageTask.h"

namespace velmora {

class EventTableModel;

// Writing events to a text file as the table shows them: the header of column titles, then
// each event's cell texts, both in the table's column order at the time of the export. The
// events are written newest first, as the table shows them; an event that has left the list
// since it was chosen (the server removed it) is not written.
//
// The text is written as it is made, a block at a time, into a side file that replaces the
// chosen file only when the whole text is there: ten million rows never stand in memory at
// once, and a failed write leaves no new file.
class EventExport : public PageTask {
    Q_OBJECT

public:
    // `events` ascend; `columns` are the model's columns in the order shown, with their titles.
    EventExport(QWidget* page, const EventTableModel& model, std::vector<EventId> events,
                std::vector<int> columns, const std::vector<std::string>& titles, std::string path,
                std::chrono::milliseconds progressDelay = kDefaultProgressDelay);

    // Once finished: whether the file was written.
    const Status& outcome() const { return m_outcome; }

protected:
    Step step(Clock::time_point deadline) override;
    bool cancel() override;

private:
    const EventTableModel& m_model;
    std::vector<EventId> m_events;
    std::size_t m_left; // the events not written yet are m_events[0 .. m_left)
    std::vector<int> m_columns;
    ExportText m_text;
    std::string m_pending; // text not yet written
    std::vector<std::string_view> m_cells;
    DateHistory::RowState m_scratch;
    std::optional<AtomicFileWriter> m_writer;
    Status m_outcome;

    bool writePending();
    Step end(Status outcome);
};

} // namespace velmora
