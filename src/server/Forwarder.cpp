#include "server/Forwarder.h"

#include <cerrno>
#include <chrono>
#include <ctime>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include "server/Journal.h"

namespace velmora::server {

namespace {

using namespace std::chrono_literals;

constexpr auto kFirstRetry = 1s;
constexpr auto kLongestRetry = 30s;

// RFC 5424's HOSTNAME: printable US-ASCII without spaces, at most 255 characters.
std::string hostField(const std::string& host) {
    std::string field;
    for (const char c : host.substr(0, 255)) {
        field += c > ' ' && c < 0x7F ? c : '_';
    }
    return field.empty() ? "-" : field;
}

} // namespace

Forwarder::Forwarder(ForwardTarget target, std::size_t capacity)
    : m_target(std::move(target))
    , m_queue(capacity)
    , m_thread([this] { run(); }) {}

Forwarder::~Forwarder() {
    stop();
}

std::string Forwarder::frame(const LogEvent& event) {
    const auto seconds = static_cast<std::time_t>(event.date);
    std::tm utc{};
    ::gmtime_r(&seconds, &utc);
    char time[32];
    std::strftime(time, sizeof time, "%Y-%m-%dT%H:%M:%SZ", &utc);
    const std::string message = "<" + std::to_string(event.priority) + ">1 " + time + " " +
                                hostField(event.host) + " - - - - " + event.message;
    return std::to_string(message.size()) + " " + message;
}

void Forwarder::accept(const EventBatch& batch) {
    m_queue.push(batch);
}

void Forwarder::stop() {
    m_queue.close();
    if (m_thread.joinable()) {
        m_thread.join();
    }
    closeConnection();
}

bool Forwarder::connectToCollector() {
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    const std::string port = std::to_string(m_target.port);
    if (::getaddrinfo(m_target.host.c_str(), port.c_str(), &hints, &found) != 0) {
        return false;
    }
    for (addrinfo* candidate = found; candidate != nullptr && m_fd < 0;
         candidate = candidate->ai_next) {
        const int fd = ::socket(candidate->ai_family, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (fd >= 0 && ::connect(fd, candidate->ai_addr, candidate->ai_addrlen) == 0) {
            m_fd = fd;
        } else if (fd >= 0) {
            ::close(fd);
        }
    }
    ::freeaddrinfo(found);
    return m_fd >= 0;
}

bool Forwarder::sendAll(const std::string& bytes) {
    std::size_t sent = 0;
    while (sent < bytes.size()) {
        const ssize_t n = ::send(m_fd, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            return false;
        }
        sent += static_cast<std::size_t>(n);
    }
    return true;
}

// A collector that restarted while the connection was idle has closed it; a send would still
// succeed once, into a connection nobody reads, and its events would be lost.
bool Forwarder::peerClosed() const {
    char byte = 0;
    const ssize_t n = ::recv(m_fd, &byte, 1, MSG_PEEK | MSG_DONTWAIT);
    return n == 0 || (n < 0 && errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR);
}

void Forwarder::closeConnection() {
    if (m_fd >= 0) {
        ::close(m_fd);
        m_fd = -1;
    }
}

void Forwarder::run() {
    auto retry = std::chrono::duration_cast<std::chrono::milliseconds>(kFirstRetry);
    bool connectedOnce = false;
    std::optional<EventBatch> batch;
    std::size_t next = 0; // the first event of the batch not yet sent
    std::string frames;
    while (!m_queue.closed() || batch) {
        if (!batch) {
            batch = m_queue.take(200ms);
            next = 0;
            continue;
        }
        if (m_fd >= 0 && peerClosed()) {
            closeConnection();
        }
        if (m_fd < 0 && !connectToCollector()) {
            if (connectedOnce || retry == kFirstRetry) {
                journal::warning("cannot reach the collector " + m_target.text() +
                                 "; events wait in the forwarding queue");
                connectedOnce = false;
            }
            for (auto waited = 0ms; waited < retry && !m_queue.closed(); waited += 200ms) {
                std::this_thread::sleep_for(200ms);
            }
            retry = std::min(retry * 2, std::chrono::milliseconds(kLongestRetry));
            if (m_queue.closed()) {
                return;
            }
            continue;
        }
        if (!connectedOnce) {
            journal::info("forwarding events to " + m_target.text());
            connectedOnce = true;
            retry = kFirstRetry;
        }
        const std::vector<LogEvent>& events = **batch;
        frames.clear();
        std::size_t end = next;
        while (end < events.size() && frames.size() < 64 * 1024) {
            frames += frame(events[end++]);
        }
        if (!sendAll(frames)) {
            closeConnection();
            continue; // sent again from `next` on once connected
        }
        next = end;
        if (next == events.size()) {
            batch.reset();
        }
    }
}

} // namespace velmora::server
