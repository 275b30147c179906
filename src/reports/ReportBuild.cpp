#include "reports/ReportBuild.h"

#include <utility>

#include "app/Logging.h"

namespace velmora {

ReportBuild::ReportBuild(ReportRequest request, QObject* parent)
    : QObject(parent)
    , m_thread([this, request = std::move(request)] { run(request); }) {}

ReportBuild::~ReportBuild() {
    m_cancelled = true;
    m_thread.join();
}

void ReportBuild::run(const ReportRequest& request) {
    int shown = -1;
    const auto progress = [this, &shown](std::uint64_t read, std::uint64_t total) {
        const int percent =
            total == 0 ? 100 : static_cast<int>(std::min<std::uint64_t>(read * 100 / total, 100));
        if (percent != shown) {
            shown = percent;
            QMetaObject::invokeMethod(
                this, [this, percent] { emit progressed(percent); }, Qt::QueuedConnection);
        }
    };
    std::shared_ptr<const Report> report = ReportEngine(request).build(&m_cancelled, progress);
    if (!report) {
        return;
    }
    qCDebug(lcReports) << "report built:" << report->groupCount() << "groups,"
                       << report->detailCount() << "lines";
    QMetaObject::invokeMethod(
        this, [this, report = std::move(report)] { emit finished(report); }, Qt::QueuedConnection);
}

} // namespace velmora
