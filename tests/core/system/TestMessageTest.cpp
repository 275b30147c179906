#include "core/system/TestMessage.h"

#include <fcntl.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "support/UdpReceiver.h"

namespace velmora {
namespace {

TEST(TestMessage, SendsExactlyThePayloadInOneDatagram) {
    const test::UdpReceiver server;
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
