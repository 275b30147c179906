#include "server/UdpReceiver.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

namespace velmora::server {

namespace {

constexpr std::size_t kBatch = 64;
constexpr std::size_t kDatagramBytes = 64 * 1024;

std::int64_t secondsNow() {
    return std::chrono::duration_cast<std::chrono::seconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
}

// The last sender's text is kept: a burst mostly comes from one host.
const Sender& senderOf(const sockaddr_storage& from, socklen_t length, Sender& last) {
    const std::optional<SenderAddress> address =
        SenderAddress::fromSocketAddress(reinterpret_cast<const sockaddr*>(&from), length);
    if (address && !(last.address == *address && !last.text.empty())) {
        last = {*address, address->text()};
    }
    return last;
}

} // namespace

UdpReceiver::UdpReceiver(int socket, int stopEvent, EventIntake intake, EventQueue& queue,
                         Statistics& statistics)
    : m_socket(socket)
    , m_stopEvent(stopEvent)
    , m_intake(std::move(intake))
    , m_queue(queue)
    , m_statistics(statistics)
    , m_thread([this] { run(); }) {}

UdpReceiver::~UdpReceiver() {
    m_thread.join();
    ::close(m_socket);
}

void UdpReceiver::run() {
    std::vector<char> buffers(kBatch * kDatagramBytes);
    std::array<iovec, kBatch> vectors{};
    std::array<sockaddr_storage, kBatch> senders{};
    std::array<mmsghdr, kBatch> headers{};
    for (std::size_t i = 0; i < kBatch; ++i) {
        vectors[i] = {buffers.data() + i * kDatagramBytes, kDatagramBytes};
        headers[i].msg_hdr.msg_iov = &vectors[i];
        headers[i].msg_hdr.msg_iovlen = 1;
        headers[i].msg_hdr.msg_name = &senders[i];
    }
    std::vector<LogEvent> batch;
    Sender last;
    std::array<pollfd, 2> waits{{{m_socket, POLLIN, 0}, {m_stopEvent, POLLIN, 0}}};
    for (;;) {
        for (mmsghdr& header : headers) {
            header.msg_hdr.msg_namelen = sizeof(sockaddr_storage);
        }
        const int received = ::recvmmsg(m_socket, headers.data(), kBatch, MSG_DONTWAIT, nullptr);
        if (received <= 0) {
            if (received < 0 && errno != EAGAIN && errno != EINTR) {
                return;
            }
            ::poll(waits.data(), waits.size(), -1);
            if (waits[1].revents != 0) {
                return;
            }
            continue;
        }
        const std::int64_t now = secondsNow();
        m_intake.begin();
        for (int i = 0; i < received; ++i) {
            const mmsghdr& header = headers[static_cast<std::size_t>(i)];
            const Sender& sender =
                senderOf(senders[static_cast<std::size_t>(i)], header.msg_hdr.msg_namelen, last);
            m_intake.take(
                std::string_view(static_cast<const char*>(header.msg_hdr.msg_iov->iov_base),
                                 header.msg_len),
                sender, now, batch);
        }
        m_statistics.droppedQueueFull.fetch_add(m_queue.tryPush(batch), std::memory_order_relaxed);
    }
}

} // namespace velmora::server
