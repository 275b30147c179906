#include "app/LoopMonitor.h"

#include <algorithm>
#include <unistd.h>

#include <QFile>

#include "app/Logging.h"
#include "core/eventlog/EventStore.h"

namespace velmora {

namespace {

constexpr int kTickMs = 10;
constexpr qint64 kReportMs = 1000;

// Resident memory from /proc/self/statm, in KiB; 0 when it cannot be read.
qint64 residentKiB() {
    QFile statm(QStringLiteral("/proc/self/statm"));
    if (!statm.open(QIODevice::ReadOnly)) {
        return 0;
    }
    const QList<QByteArray> fields = statm.readAll().split(' ');
    return fields.size() > 1 ? fields[1].toLongLong() * (::sysconf(_SC_PAGESIZE) / 1024) : 0;
}

} // namespace

bool LoopMonitor::wanted() {
    return lcStats().isInfoEnabled();
}

LoopMonitor::LoopMonitor(const EventStore& store, QObject* parent)
    : QObject(parent)
    , m_store(store) {
    m_tick.setTimerType(Qt::PreciseTimer);
    connect(&m_tick, &QTimer::timeout, this, &LoopMonitor::onTick);
    m_tick.start(kTickMs);
    m_sinceTick.start();
    m_sinceReport.start();
}

void LoopMonitor::onTick() {
    m_longestGapMs = std::max(m_longestGapMs, m_sinceTick.restart());
    if (m_sinceReport.elapsed() >= kReportMs) {
        report();
        m_sinceReport.restart();
        m_longestGapMs = 0;
    }
}

void LoopMonitor::report() {
    qCInfo(lcStats).noquote() << QStringLiteral("events=%1 longest-gap-ms=%2 rss-kib=%3")
                                     .arg(m_store.size())
                                     .arg(m_longestGapMs)
                                     .arg(residentKiB());
}

} // namespace velmora
