#include "core/system/TestMessage.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace velmora {

namespace {

Error socketError(std::string_view what, int error) {
    return {ErrorCode::Io, std::string(what) + ": " + std::strerror(error)};
}

} // namespace

Result<TestMessage> TestMessage::open() {
    const int fd = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, IPPROTO_UDP);
    if (fd < 0) {
        return socketError("cannot open a UDP socket", errno);
    }
    // The option value is one byte, as the console has always given it. Linux wants an int and
    // refuses the call; that changes nothing for a socket that only sends and is never bound,
    // so its result is not looked at.
    const unsigned char reuse = 1;
    [[maybe_unused]] const int ignored = ::setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &reuse, 1);
    return TestMessage(fd);
}

TestMessage::TestMessage(TestMessage&& other) noexcept
    : m_fd(std::exchange(other.m_fd, -1)) {}

TestMessage& TestMessage::operator=(TestMessage&& other) noexcept {
    if (this != &other) {
        if (m_fd >= 0) {
            ::close(m_fd);
        }
        m_fd = std::exchange(other.m_fd, -1);
    }
    return *this;
}

TestMessage::~TestMessage() {
    if (m_fd >= 0) {
        ::close(m_fd);
    }
}

Status TestMessage::send(std::string_view address, std::uint16_t port) const {
    sockaddr_in destination;
    std::memset(&destination, 0, sizeof destination);
    destination.sin_family = AF_INET;
    destination.sin_port = htons(port);
    const std::string text(address);
    if (::inet_pton(AF_INET, text.c_str(), &destination.sin_addr) != 1) {
        return Error{ErrorCode::Invalid, "not a dotted IPv4 address: " + text};
    }
    const ssize_t sent =
        ::sendto(m_fd, kPayload.data(), kPayload.size(), 0,
                 reinterpret_cast<const sockaddr*>(&destination), sizeof destination);
    if (sent < 0) {
        return socketError("cannot send the test message to " + text, errno);
    }
    return {};
}

int TestMessage::leaveOpen() && {
    return std::exchange(m_fd, -1);
}

} // namespace velmora
