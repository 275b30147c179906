#pragma once

#include <cstdint>
#include <string>
#include <thread>

#include "server/BatchQueue.h"
#include "server/EventSink.h"
#include "server/ServerOptions.h"

namespace velmora::server {

// Forwards every kept event to a central collector as RFC 5424 over TCP, framed by octet
// counting (RFC 6587): "<PRI>1 TIME HOST - - - - MESSAGE", the time in UTC, the host being
// the original sender. Events wait in a bounded queue while the collector is away; the
// connection is made again (after 1 s, then up to 30 s apart) and what was not sent follows. A
// connection the collector closed is noticed before sending, and frames whose sending failed
// are sent again, so a restart of the collector loses at most what its own buffers held.
class Forwarder : public EventSink {
public:
    Forwarder(ForwardTarget target, std::size_t capacity);
    Forwarder(const Forwarder&) = delete;
    Forwarder& operator=(const Forwarder&) = delete;
    ~Forwarder() override;

    void accept(const EventBatch& batch) override;
    void stop();
    std::uint64_t takeDropped() { return m_queue.takeDropped(); }

    // The frame of one event, its length in front.
    static std::string frame(const LogEvent& event);

private:
    void run();
    bool connectToCollector();
    bool sendAll(const std::string& bytes);
    bool peerClosed() const;
    void closeConnection();

    ForwardTarget m_target;
    BatchQueue m_queue;
    int m_fd = -1;
    std::thread m_thread;
};

} // namespace velmora::server
