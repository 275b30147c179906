#pragma once

#include <algorithm>
#include <cstddef>
#include <functional>
#include <sys/resource.h>
#include <vector>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTimer>

namespace velmora::bench {

// The processor time of the calling thread, in seconds.
inline double threadCpuSeconds() {
    rusage usage{};
    getrusage(RUSAGE_THREAD, &usage);
    return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

// Runs the event loop until `done` holds, looked at every 5 ms, or until `clock` passes
// `limitMs`; returns when it held, in milliseconds of `clock`, or -1.
inline qint64 runUntil(const QElapsedTimer& clock, qint64 limitMs,
                       const std::function<bool()>& done) {
    qint64 heldAtMs = -1;
    QTimer watch;
    QObject::connect(&watch, &QTimer::timeout, [&] {
        if (done()) {
            heldAtMs = clock.elapsed();
            QCoreApplication::quit();
        } else if (clock.elapsed() > limitMs) {
            QCoreApplication::quit();
        }
    });
    watch.start(5);
    QCoreApplication::exec();
    return heldAtMs;
}

// How long the event loop is kept from running: a 1 ms timer on the main thread notes the gap
// between its ticks, the longest gap being the longest stall a user would feel.
class EventLoopWatch {
public:
    EventLoopWatch() {
        m_clock.start();
        m_lastTick = m_clock.nsecsElapsed();
        m_ticker.setTimerType(Qt::PreciseTimer);
        QObject::connect(&m_ticker, &QTimer::timeout, [this] {
            const qint64 now = m_clock.nsecsElapsed();
            m_gaps.push_back(now - m_lastTick);
            m_lastTick = now;
        });
        m_ticker.start(1);
    }

    // The gap below which the share p (0 to 1) of the gaps lie, in milliseconds.
    double percentile(double p) {
        if (m_gaps.empty()) {
            return 0.0;
        }
        std::sort(m_gaps.begin(), m_gaps.end());
        const auto at = static_cast<std::size_t>(p * static_cast<double>(m_gaps.size() - 1));
        return static_cast<double>(m_gaps[at]) / 1e6;
    }

private:
    QElapsedTimer m_clock;
    qint64 m_lastTick = 0;
    std::vector<qint64> m_gaps;
    QTimer m_ticker;
};

} // namespace velmora::bench
