#include "server/Forwarder.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "support/ServerProcess.h"

namespace velmora::server {
namespace {

// A collector on a loopback port: it takes one connection and reads until it holds `bytes`,
// or five seconds pass without any.
class Collector {
public:
    explicit Collector(std::uint16_t port)
        : m_listener(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        const int on = 1;
        ::setsockopt(m_listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
        const timeval patience{5, 0}; // accept() and the accepted socket both keep it
        ::setsockopt(m_listener, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        EXPECT_EQ(::bind(m_listener, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        ::listen(m_listener, 4);
    }
    ~Collector() {
        ::close(m_connection);
        ::close(m_listener);
    }
    std::string read(std::size_t bytes) {
        if (m_connection < 0) {
            m_connection = ::accept(m_listener, nullptr, nullptr);
        }
        std::string received(bytes, '\0');
        std::size_t got = 0;
        while (got < bytes) {
            const ssize_t n = ::recv(m_connection, received.data() + got, bytes - got, 0);
            if (n <= 0) {
                break;
            }
            got += static_cast<std::size_t>(n);
        }
        return received.substr(0, got);
    }

private:
    int m_listener;
    int m_connection = -1;
};

EventBatch batchOf(std::vector<LogEvent> events) {
    return std::make_shared<const std::vector<LogEvent>>(std::move(events));
}

TEST(Forwarder, Rfc5424FramesReachACollectorThatRestarts) {
    const LogEvent first{1700000000, 191, "10.0.0.1", "app[7]: disk full"};
    const LogEvent second{1700000001, 13, "host name", "after the restart"};
    EXPECT_EQ(Forwarder::frame(first),
              "62 <191>1 2023-11-14T22:13:20Z 10.0.0.1 - - - - app[7]: disk full");
    const std::uint16_t port = test::freePort();
    Forwarder forwarder({"127.0.0.1", port}, 1000);
    {
        Collector collector(port);
        forwarder.accept(batchOf({first}));
        EXPECT_EQ(collector.read(Forwarder::frame(first).size()), Forwarder::frame(first));
    } // the collector stops while the connection is idle, and starts again
    Collector restarted(port);
    forwarder.accept(batchOf({second, first}));
    const std::string expected = Forwarder::frame(second) + Forwarder::frame(first);
    EXPECT_EQ(restarted.read(expected.size()), expected);
    EXPECT_EQ(Forwarder::frame(second).find("host_name"), 30u);
    forwarder.stop();
    EXPECT_EQ(forwarder.takeDropped(), 0u);
}

} // namespace
} // namespace velmora::server
