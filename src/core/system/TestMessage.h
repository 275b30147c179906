#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "core/Result.h"

namespace velmora {

// The syslog test message: one UDP datagram to the server on this machine, so that the
// administrator sees the whole path work (the server logs it, announces it, the events table
// shows it). Its priority <191> is facility 23 (local use 7) and severity 7 (debug), which the
// console shows as "Local7.Debug".
//
// The socket is an object of its own because the console keeps it: each press of the Test
// button leaves one descriptor open (see leaveOpen()); other callers let it close.
class TestMessage {
public:
    // Exactly these bytes: no terminating zero, no line end.
    static constexpr std::string_view kPayload = "<191>Kestrix Velmora - Test message";
    static constexpr std::string_view kDefaultAddress = "127.0.0.1";
    static constexpr std::uint16_t kDefaultPort = 514;

    // A UDP socket of the Internet family, with the address-reuse option asked for.
    static Result<TestMessage> open();

    TestMessage(TestMessage&& other) noexcept;
    TestMessage& operator=(TestMessage&& other) noexcept;
    TestMessage(const TestMessage&) = delete;
    TestMessage& operator=(const TestMessage&) = delete;
    // Closes the socket unless it was left open.
    ~TestMessage();

    // Sends the payload in one datagram, flags 0, to a dotted IPv4 address and a port.
    Status send(std::string_view address = kDefaultAddress,
                std::uint16_t port = kDefaultPort) const;

    // Gives the socket up without closing it, and returns its descriptor.
    int leaveOpen() &&;
    int descriptor() const { return m_fd; }

private:
    explicit TestMessage(int fd)
        : m_fd(fd) {}

    int m_fd = -1;
};

} // namespace velmora
