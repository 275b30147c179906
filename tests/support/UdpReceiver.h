#pragma once

#include <arpa/inet.h>
#include <cstdint>
#include <netinet/in.h>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

namespace velmora::test {

// A UDP socket on an ephemeral port of the loopback address, standing in for the server.
class UdpReceiver {
public:
    UdpReceiver()
        : m_fd(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        ::bind(m_fd, reinterpret_cast<sockaddr*>(&address), length);
        ::getsockname(m_fd, reinterpret_cast<sockaddr*>(&address), &length);
        m_port = ntohs(address.sin_port);
    }
    UdpReceiver(const UdpReceiver&) = delete;
    UdpReceiver& operator=(const UdpReceiver&) = delete;
    ~UdpReceiver() { ::close(m_fd); }

    std::uint16_t port() const { return m_port; }

    // The next datagram, whole; empty when none comes within five seconds.
    std::string receive() const {
        pollfd ready{m_fd, POLLIN, 0};
        if (::poll(&ready, 1, 5000) != 1) {
            return {};
        }
        char buffer[2048];
        const ssize_t n = ::recv(m_fd, buffer, sizeof buffer, 0);
        return n > 0 ? std::string(buffer, static_cast<std::size_t>(n)) : std::string();
    }

private:
    int m_fd;
    std::uint16_t m_port = 0;
};

} // namespace velmora::test
