#pragma once

#include <memory>
#include <thread>
#include <unordered_map>
#include <vector>

#include "core/syslog/SyslogFramer.h"
#include "server/EventIntake.h"
#include "server/EventQueue.h"

namespace velmora::server {

// Receives syslog over TCP on its listening sockets, all connections on one thread (epoll).
// Each connection's stream is cut into messages by its own framer. When the queue to the log
// files is full the thread waits, so the senders' TCP windows close and they wait too:
// nothing received over TCP is ever dropped.
class TcpReceiver {
public:
    TcpReceiver(std::vector<int> listenSockets, int stopEvent, EventIntake intake,
                EventQueue& queue);
    TcpReceiver(const TcpReceiver&) = delete;
    TcpReceiver& operator=(const TcpReceiver&) = delete;
    ~TcpReceiver();

private:
    struct Connection {
        Sender sender;
        SyslogFramer framer;
    };

    void run();
    void accept(int listenSocket);
    // False when the connection ended.
    bool read(int fd, Connection& connection);
    void close(int fd);
    void flush();

    std::vector<int> m_listenSockets;
    int m_stopEvent;
    int m_epoll = -1;
    EventIntake m_intake;
    EventQueue& m_queue;
    std::unordered_map<int, std::unique_ptr<Connection>> m_connections;
    std::vector<char> m_buffer;
    std::vector<LogEvent> m_batch;
    bool m_stopping = false;
    std::thread m_thread;
};

} // namespace velmora::server
