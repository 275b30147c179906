#include "scan/EventExport.h"

#include <utility>

#include "app/Logging.h"
#include "scan/EventTableModel.h"

namespace velmora {

namespace {

constexpr std::size_t kRowsPerCheck = 256;
constexpr std::size_t kBlockBytes = std::size_t{1} << 20;

} // namespace

EventExport::EventExport(QWidget* page, const EventTableModel& model, std::vector<EventId> events,
                         std::vector<int> columns, const std::vector<std::string>& titles,
                         std::string path, std::chrono::milliseconds progressDelay)
    : PageTask(page, tr("Exporting events..."), progressDelay)
    , m_model(model)
    , m_events(std::move(events))
    , m_left(m_events.size())
    , m_columns(std::move(columns))
    , m_text(ExportText::separatorFor(path)) {
    Result<AtomicFileWriter> writer = AtomicFileWriter::open(path, NewFileMode::UserDefault);
    if (writer) {
        m_writer.emplace(std::move(*writer));
    } else {
        m_outcome = writer.error();
    }
    const std::vector<std::string_view> header(titles.begin(), titles.end());
    m_text.appendLine(header, m_pending);
}

PageTask::Step EventExport::step(Clock::time_point deadline) {
    if (!m_writer) {
        return end(m_outcome);
    }
    m_cells.resize(m_columns.size());
    const EventStore& store = m_model.store();
    while (m_left > 0) {
        const EventId event = m_events[--m_left];
        if (store.inList(event)) {
            for (std::size_t i = 0; i < m_columns.size(); ++i) {
                m_cells[i] = m_model.cellText(event, m_columns[i], m_scratch);
            }
            m_text.appendLine(m_cells, m_pending);
        }
        if (m_pending.size() >= kBlockBytes && !writePending()) {
            return end(m_outcome);
        }
        if (m_left % kRowsPerCheck == 0 && Clock::now() >= deadline) {
            setProgress(m_events.size() - m_left, m_events.size());
            return Step::More;
        }
    }
    if (!writePending()) {
        return end(m_outcome);
    }
    return end(m_writer->commit());
}

bool EventExport::cancel() {
    // The side file goes with the writer: no file is written.
    m_writer.reset();
    return true;
}

bool EventExport::writePending() {
    m_outcome = m_writer->write(m_pending);
    m_pending.clear();
    return m_outcome.ok();
}

PageTask::Step EventExport::end(Status outcome) {
    m_outcome = std::move(outcome);
    // A failed write is passed over in silence, as every file error of the console.
    if (!m_outcome) {
        qCInfo(lcScan) << "export:" << m_outcome.error().message.c_str();
    }
    m_writer.reset();
    return Step::Done;
}

} // namespace velmora
