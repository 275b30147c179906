#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "core/syslog/LogEvent.h"
#include "core/syslog/SenderAddress.h"
#include "server/HostResolver.h"
#include "server/ServerSettings.h"
#include "server/Statistics.h"

namespace velmora::server {

struct Sender {
    SenderAddress address;
    std::string text; // the address as text, made once per sender
};

// What every receiving thread does with a message: read it, make its event, ask the filters,
// and add it to the thread's batch. A thread reads the settings once a batch (begin()).
class EventIntake {
public:
    EventIntake(const SettingsHolder& settings, HostResolver& resolver, Statistics& statistics)
        : m_settingsHolder(settings)
        , m_resolver(resolver)
        , m_statistics(statistics) {}

    // Takes the settings in force now for the messages that follow.
    void begin() { m_settings = m_settingsHolder.get(); }
    void take(std::string_view bytes, const Sender& sender, std::int64_t now,
              std::vector<LogEvent>& batch);

private:
    const SettingsHolder& m_settingsHolder;
    HostResolver& m_resolver;
    Statistics& m_statistics;
    std::shared_ptr<const ServerSettings> m_settings;
};

} // namespace velmora::server
