#include "core/system/TestMessage.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace velmora {
namespace {

// A UDP socket on an ephemeral port of the loopback address, standing in for the server.
class Receiver {
public:
    Receiver()
        : m_fd(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        ::bind(m_fd, reinterpret_cast<sockaddr*>(&address), length);
        ::getsockname(m_fd, reinterpret_cast<sockaddr*>(&address), &length);
        m_port = ntohs(address.sin_port);
    }
    ~Receiver() { ::close(m_fd); }

    std::uint16_t port() const { return m_port; }

    // The next datagram, whole; empty when none comes within five seconds.
    std::string receive() const {
        pollfd ready{m_fd, POLLIN, 0};
        if (::poll(&ready, 1, 5000) != 1) {
            return {};
        }
        char buffer[2048];
        const ssize_t n = ::recv(m_fd, buffer, sizeof buffer, MSG_TRUNC);
        return n > 0 ? std::string(buffer, static_cast<std::size_t>(n)) : std::string();
    }

private:
    int m_fd;
    std::uint16_t m_port = 0;
};

TEST(TestMessage, SendsExactlyThePayloadInOneDatagram) {
    const Receiver server;
    Result<TestMessage> message = TestMessage::open();
    ASSERT_TRUE(message) << message.error().message;
    ASSERT_TRUE(message->send("127.0.0.1", server.port()));

    const std::string received = server.receive();
    EXPECT_EQ(received, "<191>Kestrix Velmora - Test message");
    EXPECT_EQ(received.size(), 35u); // no terminating zero, no line end
}

TEST(TestMessage, LeftOpenTheSocketOutlivesTheObject) {
    int descriptor = -1;
    {
        Result<TestMessage> message = TestMessage::open();
        ASSERT_TRUE(message);
        descriptor = std::move(*message).leaveOpen();
    }
    EXPECT_NE(::fcntl(descriptor, F_GETFD), -1);
    ::close(descriptor);

    {
        Result<TestMessage> message = TestMessage::open();
        ASSERT_TRUE(message);
        descriptor = message->descriptor();
    }
    EXPECT_EQ(::fcntl(descriptor, F_GETFD), -1);
}

TEST(TestMessage, ADestinationThatIsNoDottedAddressIsAnError) {
    Result<TestMessage> message = TestMessage::open();
    ASSERT_TRUE(message);
    for (const char* address : {"localhost", "127.0.0", "::1", ""}) {
        const Status sent = message->send(address, 514);
        ASSERT_FALSE(sent) << address;
        EXPECT_EQ(sent.error().code, ErrorCode::Invalid);
    }
}

} // namespace
} // namespace velmora
