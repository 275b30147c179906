#include "server/HostResolver.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>

namespace velmora::server {

namespace {

using namespace std::chrono_literals;

constexpr std::size_t kMaxEntries = 65536;
constexpr std::size_t kMaxLookups = 4096;

std::optional<std::string> reverseLookup(const std::string& addressText) {
    sockaddr_storage storage{};
    socklen_t length = 0;
    auto* v4 = reinterpret_cast<sockaddr_in*>(&storage);
    auto* v6 = reinterpret_cast<sockaddr_in6*>(&storage);
    if (::inet_pton(AF_INET, addressText.c_str(), &v4->sin_addr) == 1) {
        v4->sin_family = AF_INET;
        length = sizeof *v4;
    } else if (::inet_pton(AF_INET6, addressText.c_str(), &v6->sin6_addr) == 1) {
        v6->sin6_family = AF_INET6;
        length = sizeof *v6;
    } else {
        return std::nullopt;
    }
    char name[NI_MAXHOST];
    if (::getnameinfo(reinterpret_cast<sockaddr*>(&storage), length, name, sizeof name, nullptr, 0,
                      NI_NAMEREQD) != 0) {
        return std::nullopt;
    }
    return std::string(name);
}

} // namespace

HostResolver::HostResolver()
    : m_thread([this] { run(); }) {}

HostResolver::~HostResolver() {
    {
        const std::scoped_lock guard(m_lock);
        m_stopping = true;
    }
    m_wake.notify_all();
    m_thread.join();
}

std::optional<std::string> HostResolver::cachedName(const std::string& addressText) {
    const Clock::time_point now = Clock::now();
    {
        const std::scoped_lock guard(m_lock);
        auto found = m_cache.find(addressText);
        if (found != m_cache.end() && (found->second.pending || found->second.expires > now)) {
            return found->second.name;
        }
        if (m_lookups.size() >= kMaxLookups) {
            return std::nullopt;
        }
        if (m_cache.size() >= kMaxEntries) {
            m_cache.clear();
        }
        Entry& entry = m_cache[addressText];
        entry.pending = true;
        m_lookups.push_back(addressText);
    }
    m_wake.notify_one();
    return std::nullopt;
}

void HostResolver::run() {
    std::unique_lock guard(m_lock);
    for (;;) {
        m_wake.wait(guard, [this] { return m_stopping || !m_lookups.empty(); });
        if (m_stopping) {
            return;
        }
        const std::string addressText = std::move(m_lookups.front());
        m_lookups.pop_front();
        guard.unlock();
        std::optional<std::string> name = reverseLookup(addressText);
        guard.lock();
        Entry& entry = m_cache[addressText];
        entry.expires = Clock::now() + (name ? 1h : 5min);
        entry.pending = false;
        entry.name = std::move(name);
    }
}

} // namespace velmora::server
