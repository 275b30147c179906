#pragma once

#include <atomic>
#include <memory>
#include <thread>

#include <QObject>

#include "core/reports/ReportEngine.h"

namespace velmora {

// One report being built on a thread of its own, so that reading gigabytes of logs never
// freezes the window. It reports its progress and hands the finished report to the main thread
// through queued calls; destroying it cancels the build and waits for the thread, and nothing
// is reported after that.
class ReportBuild : public QObject {
    Q_OBJECT

public:
    explicit ReportBuild(ReportRequest request, QObject* parent = nullptr);
    ~ReportBuild() override;

signals:
    // How far the reading has come, 0 to 100.
    void progressed(int percent);
    void finished(std::shared_ptr<const velmora::Report> report);

private:
    std::atomic<bool> m_cancelled = false;
    std::thread m_thread;

    void run(const ReportRequest& request);
};

} // namespace velmora
