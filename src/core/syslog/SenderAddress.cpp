#include "core/syslog/SenderAddress.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cstring>
#include <netinet/in.h>

namespace velmora {

namespace {

constexpr std::array<std::uint8_t, 12> kMappedPrefix = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF};

} // namespace

SenderAddress SenderAddress::fromIpv6(const std::uint8_t* bytes) {
    SenderAddress address;
    if (std::equal(kMappedPrefix.begin(), kMappedPrefix.end(), bytes)) {
        std::memcpy(address.m_bytes.data(), bytes + kMappedPrefix.size(), 4);
    } else {
        address.m_family = Family::V6;
        std::memcpy(address.m_bytes.data(), bytes, 16);
    }
    return address;
}

std::optional<SenderAddress> SenderAddress::fromSocketAddress(const sockaddr* address,
                                                              socklen_t length) {
    SenderAddress sender;
    if (address->sa_family == AF_INET && length >= sizeof(sockaddr_in)) {
        const auto* v4 = reinterpret_cast<const sockaddr_in*>(address);
        std::memcpy(sender.m_bytes.data(), &v4->sin_addr, 4);
        return sender;
    }
    if (address->sa_family == AF_INET6 && length >= sizeof(sockaddr_in6)) {
        const auto* v6 = reinterpret_cast<const sockaddr_in6*>(address);
        return fromIpv6(reinterpret_cast<const std::uint8_t*>(&v6->sin6_addr));
    }
    return std::nullopt;
}

std::optional<SenderAddress> SenderAddress::parse(std::string_view text) {
    const std::string copy(text); // inet_pton wants a C string
    SenderAddress address;
    if (::inet_pton(AF_INET, copy.c_str(), address.m_bytes.data()) == 1) {
        return address;
    }
    if (::inet_pton(AF_INET6, copy.c_str(), address.m_bytes.data()) == 1) {
        return fromIpv6(address.m_bytes.data());
    }
    return std::nullopt;
}

bool SenderAddress::sameNetwork(const SenderAddress& other, int prefixLength) const {
    if (m_family != other.m_family || prefixLength < 0 || prefixLength > bits()) {
        return false;
    }
    const auto wholeBytes = static_cast<std::size_t>(prefixLength / 8);
    if (!std::equal(m_bytes.begin(), m_bytes.begin() + static_cast<std::ptrdiff_t>(wholeBytes),
                    other.m_bytes.begin())) {
        return false;
    }
    const int restBits = prefixLength % 8;
    if (restBits == 0) {
        return true;
    }
    const auto mask = static_cast<std::uint8_t>(0xFF << (8 - restBits));
    return (m_bytes[wholeBytes] & mask) == (other.m_bytes[wholeBytes] & mask);
}

std::string SenderAddress::text() const {
    char buffer[INET6_ADDRSTRLEN] = {};
    ::inet_ntop(m_family == Family::V4 ? AF_INET : AF_INET6, m_bytes.data(), buffer, sizeof buffer);
    return buffer;
}

} // namespace velmora
