#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <thread>

#include "core/Result.h"
#include "server/BatchQueue.h"
#include "server/EventSink.h"
#include "server/ServerOptions.h"

struct sd_bus;

namespace velmora::server {

// Announces every written event with the signal the console listens for: path
// /com/kestrix/Velmora, interface com.kestrix.Velmora, member Velmora, one a{sv} argument
// holding the strings Type "Set", Date, Priority, Host and Message. Signals are sent on a
// thread of its own from a bounded queue: when the bus cannot take them as fast as events
// arrive, the batches that do not fit are dropped and counted, and reception and the log
// files go on. At most `perSecond` signals go out in a second (0: no limit): the bus daemon
// and every console pay for each one, on the same processors as the reception, and a console
// cannot show more than some tens of thousands a second anyway; the events beyond are in the
// log files, counted as not announced.
class Notifier : public EventSink {
public:
    static constexpr const char* kPath = "/com/kestrix/Velmora";
    static constexpr const char* kInterface = "com.kestrix.Velmora";
    static constexpr const char* kMember = "Velmora";

    static Result<std::unique_ptr<Notifier>> open(Bus bus, std::size_t capacity,
                                                  std::uint64_t perSecond);
    ~Notifier() override;

    void accept(const EventBatch& batch) override;
    // Sends what is queued, for at most a few seconds, then stops.
    void stop();
    // Events not announced since the last call: their batch found the queue full, or the
    // second's signals were all sent.
    std::uint64_t takeDropped() { return m_queue.takeDropped() + m_overLimit.exchange(0); }

private:
    Notifier(sd_bus* bus, std::size_t capacity, std::uint64_t perSecond);
    void run();
    bool emit(const LogEvent& event);
    bool withinLimit();

    sd_bus* m_bus;
    BatchQueue m_queue;
    std::uint64_t m_perSecond;
    std::uint64_t m_sentThisSecond = 0;
    std::chrono::steady_clock::time_point m_secondStart;
    std::atomic<std::uint64_t> m_overLimit{0};
    std::thread m_thread;
};

} // namespace velmora::server
