#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <unordered_map>

namespace velmora::server {

// Names of senders by reverse DNS, for hostsDisplay. A lookup never holds back an event: an
// address not in the cache yet is asked for on the resolver's own thread, and its events carry
// the address until the name is known. Names are kept an hour, failures five minutes; an
// address without a name keeps its address text.
class HostResolver {
public:
    HostResolver();
    HostResolver(const HostResolver&) = delete;
    HostResolver& operator=(const HostResolver&) = delete;
    ~HostResolver();

    // The sender's name when known, else nothing (and the name is looked up).
    std::optional<std::string> cachedName(const std::string& addressText);

private:
    using Clock = std::chrono::steady_clock;
    struct Entry {
        std::optional<std::string> name;
        Clock::time_point expires;
        bool pending = false;
    };

    void run();

    std::mutex m_lock;
    std::condition_variable m_wake;
    std::unordered_map<std::string, Entry> m_cache;
    std::deque<std::string> m_lookups;
    bool m_stopping = false;
    std::thread m_thread;
};

} // namespace velmora::server
