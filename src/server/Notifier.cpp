#include "server/Notifier.h"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <string>
#include <systemd/sd-bus.h>

#include "server/Journal.h"

namespace velmora::server {

namespace {

using namespace std::chrono_literals;

// Messages sd-bus may hold unsent before the thread waits for the bus to take them.
constexpr std::uint64_t kFlushEvery = 256;

int appendEntry(sd_bus_message* message, const char* key, const std::string& value) {
    int r = sd_bus_message_open_container(message, 'e', "sv");
    r = r < 0 ? r : sd_bus_message_append(message, "s", key);
    r = r < 0 ? r : sd_bus_message_append(message, "v", "s", value.c_str());
    return r < 0 ? r : sd_bus_message_close_container(message);
}

} // namespace

Result<std::unique_ptr<Notifier>> Notifier::open(Bus bus, std::size_t capacity,
                                                 std::uint64_t perSecond) {
    sd_bus* connection = nullptr;
    const int r =
        bus == Bus::System ? sd_bus_open_system(&connection) : sd_bus_open_user(&connection);
    if (r < 0) {
        return Error{ErrorCode::Io, std::string("cannot connect to the ") +
                                        (bus == Bus::System ? "system" : "session") +
                                        " bus: " + std::strerror(-r)};
    }
    return std::unique_ptr<Notifier>(new Notifier(connection, capacity, perSecond));
}

Notifier::Notifier(sd_bus* bus, std::size_t capacity, std::uint64_t perSecond)
    : m_bus(bus)
    , m_queue(capacity)
    , m_perSecond(perSecond)
    , m_thread([this] { run(); }) {}

Notifier::~Notifier() {
    stop();
    sd_bus_flush_close_unref(m_bus);
}

void Notifier::accept(const EventBatch& batch) {
    m_queue.push(batch);
}

void Notifier::stop() {
    m_queue.close();
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

bool Notifier::emit(const LogEvent& event) {
    sd_bus_message* message = nullptr;
    int r = sd_bus_message_new_signal(m_bus, &message, kPath, kInterface, kMember);
    r = r < 0 ? r : sd_bus_message_open_container(message, 'a', "{sv}");
    r = r < 0 ? r : appendEntry(message, "Type", "Set");
    r = r < 0 ? r : appendEntry(message, "Date", std::to_string(event.date));
    r = r < 0 ? r : appendEntry(message, "Priority", std::string(event.priorityText()));
    r = r < 0 ? r : appendEntry(message, "Host", event.host);
    r = r < 0 ? r : appendEntry(message, "Message", event.message);
    r = r < 0 ? r : sd_bus_message_close_container(message);
    r = r < 0 ? r : sd_bus_send(m_bus, message, nullptr);
    sd_bus_message_unref(message);
    return r >= 0;
}

bool Notifier::withinLimit() {
    if (m_perSecond == 0) {
        return true;
    }
    const auto now = std::chrono::steady_clock::now();
    if (now - m_secondStart >= 1s) {
        m_secondStart = now;
        m_sentThisSecond = 0;
    }
    return ++m_sentThisSecond <= m_perSecond;
}

void Notifier::run() {
    std::uint64_t unflushed = 0;
    bool reported = false;
    for (;;) {
        const std::optional<EventBatch> batch = m_queue.take(100ms);
        if (!batch) {
            sd_bus_flush(m_bus);
            unflushed = 0;
            if (m_queue.closed()) {
                return;
            }
            continue;
        }
        for (const LogEvent& event : **batch) {
            if (!withinLimit()) {
                m_overLimit.fetch_add(1, std::memory_order_relaxed);
                continue;
            }
            if (!emit(event) && !reported) {
                journal::warning("cannot send a notification on the bus; events are still logged");
                reported = true;
            }
            // Waiting here for the bus to take the signals holds back nothing but this thread.
            if (++unflushed == kFlushEvery) {
                sd_bus_flush(m_bus);
                unflushed = 0;
            }
        }
    }
}

} // namespace velmora::server
