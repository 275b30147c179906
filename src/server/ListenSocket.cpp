#include "server/ListenSocket.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace velmora::server {

namespace {

constexpr int kReceiveBufferBytes = 32 * 1024 * 1024;
constexpr int kBacklog = 1024;

Error socketError(const ListenAddress& address, std::string_view what, int error) {
    return {ErrorCode::Io, "cannot receive on " + address.text() + ": " + std::string(what) + ": " +
                               std::strerror(error)};
}

void enlargeReceiveBuffer(int fd) {
    // SO_RCVBUFFORCE passes the system's limit with CAP_NET_ADMIN; without, SO_RCVBUF takes
    // what the limit (net.core.rmem_max) allows.
    if (::setsockopt(fd, SOL_SOCKET, SO_RCVBUFFORCE, &kReceiveBufferBytes,
                     sizeof kReceiveBufferBytes) != 0) {
        ::setsockopt(fd, SOL_SOCKET, SO_RCVBUF, &kReceiveBufferBytes, sizeof kReceiveBufferBytes);
    }
}

} // namespace

Result<int> openListenSocket(const ListenAddress& address) {
    const bool udp = address.transport == ListenAddress::Transport::Udp;
    addrinfo hints{};
    hints.ai_flags = AI_PASSIVE | AI_NUMERICHOST | AI_NUMERICSERV;
    hints.ai_socktype = udp ? SOCK_DGRAM : SOCK_STREAM;
    addrinfo* found = nullptr;
    const std::string port = std::to_string(address.port);
    if (const int r = ::getaddrinfo(address.host.c_str(), port.c_str(), &hints, &found); r != 0) {
        return Error{ErrorCode::Invalid, "cannot receive on " + address.text() + ": " +
                                             ::gai_strerror(r) + " (give a numeric address)"};
    }
    const int family = found->ai_family;
    int fd = ::socket(family, hints.ai_socktype | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (fd < 0 && errno == EAFNOSUPPORT && address.host == "::") {
        ::freeaddrinfo(found);
        ListenAddress v4 = address;
        v4.host = "0.0.0.0";
        return openListenSocket(v4);
    }
    if (fd < 0) {
        ::freeaddrinfo(found);
        return socketError(address, "socket", errno);
    }
    const int on = 1;
    const int off = 0;
    ::setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    if (family == AF_INET6) {
        ::setsockopt(fd, IPPROTO_IPV6, IPV6_V6ONLY, &off, sizeof off);
    }
    if (udp) {
        enlargeReceiveBuffer(fd);
    }
    const bool bound = ::bind(fd, found->ai_addr, found->ai_addrlen) == 0;
    const int bindError = errno;
    ::freeaddrinfo(found);
    if (!bound) {
        ::close(fd);
        return socketError(address, "bind", bindError);
    }
    if (!udp && ::listen(fd, kBacklog) != 0) {
        const int listenError = errno;
        ::close(fd);
        return socketError(address, "listen", listenError);
    }
    return fd;
}

} // namespace velmora::server
