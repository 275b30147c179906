#include "scan/PageTask.h"

#include <algorithm>
#include <utility>

#include <QTimer>
#include <QWidget>

#include "scan/ProgressSheet.h"

namespace velmora {

PageTask::PageTask(QWidget* page, QString label, std::chrono::milliseconds progressDelay)
    : QObject(page)
    , m_page(page)
    , m_label(std::move(label))
    , m_progressDelay(progressDelay) {}

PageTask::~PageTask() {
    delete m_sheet;
}

void PageTask::start() {
    m_startedAt = Clock::now();
    run();
}

void PageTask::run() {
    if (m_cancelRequested && m_cancellable && cancel()) {
        m_cancelled = true;
        finish();
        return;
    }
    const Clock::time_point sheetDue = m_startedAt + m_progressDelay;
    for (;;) {
        const Clock::time_point deadline = m_sheet ? Clock::now() + kSlice : sheetDue;
        if (step(deadline) == Step::Done) {
            finish();
            return;
        }
        if (m_sheet) {
            break;
        }
        if (Clock::now() >= sheetDue) {
            openSheet();
            break;
        }
    }
    // Hands the event loop a turn before the next slice.
    QTimer::singleShot(0, this, &PageTask::run);
}

void PageTask::openSheet() {
    m_sheet = new ProgressSheet(m_label, m_page);
    m_sheet->setCancellable(m_cancellable);
    connect(m_sheet, &ProgressSheet::cancelRequested, this, [this] { m_cancelRequested = true; });
    m_sheet->open();
}

void PageTask::setCancellable(bool cancellable) {
    m_cancellable = cancellable;
    if (m_sheet) {
        m_sheet->setCancellable(cancellable);
    }
}

void PageTask::setProgress(std::uint64_t done, std::uint64_t total) {
    if (!m_sheet) {
        return;
    }
    m_sheet->setPermille(total == 0 ? 0 : static_cast<int>(std::min(done, total) * 1000 / total));
}

void PageTask::finish() {
    m_finished = true;
    delete m_sheet;
    emit finished();
}

} // namespace velmora
