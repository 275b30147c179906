#pragma once

#include <atomic>
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
// files go on at full speed.
class Notifier : public EventSink {
public:
    static constexpr const char* kPath = "/com/kestrix/Velmora";
    static constexpr const char* kInterface = "com.kestrix.Velmora";
    static constexpr const char* kMember = "Velmora";

    static Result<std::unique_ptr<Notifier>> open(Bus bus, std::size_t capacity);
    ~Notifier() override;

    void accept(const EventBatch& batch) override;
    // Sends what is queued, for at most a few seconds, then stops.
    void stop();
    std::uint64_t takeDropped() { return m_queue.takeDropped(); }

private:
    Notifier(sd_bus* bus, std::size_t capacity);
    void run();
    bool emit(const LogEvent& event);

    sd_bus* m_bus;
    BatchQueue m_queue;
    std::thread m_thread;
};

} // namespace velmora::server
