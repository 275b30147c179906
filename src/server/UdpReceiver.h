#pragma once

#include <memory>
#include <thread>

#include "server/EventIntake.h"
#include "server/EventQueue.h"

namespace velmora::server {

// Receives syslog datagrams on one socket, a batch of them per system call, on a thread of
// its own. Each datagram is one message; one longer than 64 KiB is cut. What the queue to the
// log files cannot take is dropped and counted (a datagram cannot wait).
class UdpReceiver {
public:
    UdpReceiver(int socket, int stopEvent, EventIntake intake, EventQueue& queue,
                Statistics& statistics);
    UdpReceiver(const UdpReceiver&) = delete;
    UdpReceiver& operator=(const UdpReceiver&) = delete;
    ~UdpReceiver();

private:
    void run();

    int m_socket;
    int m_stopEvent;
    EventIntake m_intake;
    EventQueue& m_queue;
    Statistics& m_statistics;
    std::thread m_thread;
};

} // namespace velmora::server
