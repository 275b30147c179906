#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <sys/socket.h>

namespace velmora {

// The address a message came from, IPv4 or IPv6. An IPv4 sender reached through an IPv6
// socket (::ffff:a.b.c.d) is its IPv4 address: the administrator knows it by that, and the
// filters match it as one.
class SenderAddress {
public:
    enum class Family { V4, V6 };

    SenderAddress() = default;

    // From a socket address of the Internet families; nothing for another family.
    static std::optional<SenderAddress> fromSocketAddress(const sockaddr* address,
                                                          socklen_t length);
    // From its text ("10.0.0.1", "fe80::1", "::ffff:10.0.0.1"); nothing for anything else.
    static std::optional<SenderAddress> parse(std::string_view text);

    Family family() const { return m_family; }
    // The number of address bits: 32 or 128.
    int bits() const { return m_family == Family::V4 ? 32 : 128; }
    // Whether both lie in one network of the given prefix length (0 to bits()); addresses of
    // two families never do.
    bool sameNetwork(const SenderAddress& other, int prefixLength) const;
    // "10.0.0.1", "fe80::1"
    std::string text() const;

    bool operator==(const SenderAddress&) const = default;

private:
    static SenderAddress fromIpv6(const std::uint8_t* bytes);

    Family m_family = Family::V4;
    std::array<std::uint8_t, 16> m_bytes{}; // IPv4 in the first four
};

} // namespace velmora
