#include "server/TcpReceiver.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include "server/Journal.h"

namespace velmora::server {

namespace {

constexpr std::size_t kReadBytes = 256 * 1024;
constexpr std::size_t kMaxConnections = 4096;
constexpr std::size_t kBatchEvents = 4096;

std::int64_t secondsNow() {
    return std::chrono::duration_cast<std::chrono::seconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
}

} // namespace

TcpReceiver::TcpReceiver(std::vector<int> listenSockets, int stopEvent, EventIntake intake,
                         EventQueue& queue)
    : m_listenSockets(std::move(listenSockets))
    , m_stopEvent(stopEvent)
    , m_epoll(::epoll_create1(EPOLL_CLOEXEC))
    , m_intake(std::move(intake))
    , m_queue(queue)
    , m_buffer(kReadBytes) {
    for (const int fd : m_listenSockets) {
        epoll_event event{EPOLLIN, {.fd = fd}};
        ::epoll_ctl(m_epoll, EPOLL_CTL_ADD, fd, &event);
    }
    epoll_event stop{EPOLLIN, {.fd = m_stopEvent}};
    ::epoll_ctl(m_epoll, EPOLL_CTL_ADD, m_stopEvent, &stop);
    m_thread = std::thread([this] { run(); });
}

TcpReceiver::~TcpReceiver() {
    m_thread.join();
    while (!m_connections.empty()) {
        close(m_connections.begin()->first);
    }
    for (const int fd : m_listenSockets) {
        ::close(fd);
    }
    ::close(m_epoll);
}

void TcpReceiver::run() {
    std::array<epoll_event, 64> ready{};
    while (!m_stopping) {
        const int count = ::epoll_wait(m_epoll, ready.data(), static_cast<int>(ready.size()), -1);
        m_intake.begin();
        for (int i = 0; i < count && !m_stopping; ++i) {
            const int fd = ready[static_cast<std::size_t>(i)].data.fd;
            if (fd == m_stopEvent) {
                m_stopping = true;
            } else if (std::find(m_listenSockets.begin(), m_listenSockets.end(), fd) !=
                       m_listenSockets.end()) {
                accept(fd);
            } else if (auto found = m_connections.find(fd);
                       found != m_connections.end() && !read(fd, *found->second)) {
                close(fd);
            }
        }
        flush();
    }
}

void TcpReceiver::accept(int listenSocket) {
    sockaddr_storage from{};
    socklen_t length = sizeof from;
    const int fd = ::accept4(listenSocket, reinterpret_cast<sockaddr*>(&from), &length,
                             SOCK_NONBLOCK | SOCK_CLOEXEC);
    if (fd < 0) {
        return;
    }
    const std::optional<SenderAddress> address =
        SenderAddress::fromSocketAddress(reinterpret_cast<const sockaddr*>(&from), length);
    if (!address || m_connections.size() >= kMaxConnections) {
        journal::warning("refused a TCP connection: " + std::to_string(kMaxConnections) +
                         " connections are open");
        ::close(fd);
        return;
    }
    auto connection = std::make_unique<Connection>();
    connection->sender = {*address, address->text()};
    epoll_event event{EPOLLIN | EPOLLRDHUP, {.fd = fd}};
    ::epoll_ctl(m_epoll, EPOLL_CTL_ADD, fd, &event);
    m_connections.emplace(fd, std::move(connection));
}

bool TcpReceiver::read(int fd, Connection& connection) {
    const ssize_t n = ::recv(fd, m_buffer.data(), m_buffer.size(), 0);
    if (n < 0) {
        return errno == EAGAIN || errno == EINTR;
    }
    const std::int64_t now = secondsNow();
    if (n == 0) {
        if (const std::optional<std::string_view> last = connection.framer.finish()) {
            m_intake.take(*last, connection.sender, now, m_batch);
        }
        return false;
    }
    connection.framer.append(std::string_view(m_buffer.data(), static_cast<std::size_t>(n)));
    while (const std::optional<std::string_view> message = connection.framer.next()) {
        m_intake.take(*message, connection.sender, now, m_batch);
    }
    if (m_batch.size() >= kBatchEvents) {
        flush();
    }
    return true;
}

void TcpReceiver::close(int fd) {
    ::epoll_ctl(m_epoll, EPOLL_CTL_DEL, fd, nullptr);
    ::close(fd);
    m_connections.erase(fd);
}

void TcpReceiver::flush() {
    if (!m_batch.empty() && !m_queue.push(m_batch)) {
        m_stopping = true;
    }
}

} // namespace velmora::server
