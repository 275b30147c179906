#pragma once

#include <memory>
#include <mutex>

#include "core/archive/Value.h"
#include "core/syslog/FilterSet.h"

namespace velmora::server {

// What the server obeys of the settings file today: host names (hostsDisplay) and the include
// and exclude filters. With no settings file every key has its default: addresses, no filters.
struct ServerSettings {
    bool hostsDisplay = false;
    FilterSet filters;

    static ServerSettings fromDictionary(const Dictionary& settings) {
        return {settings.boolean("hostsDisplay"), FilterSet::fromSettings(settings)};
    }
};

// The settings in force, replaced whole on a reload while the receiving threads read them.
class SettingsHolder {
public:
    SettingsHolder()
        : m_current(std::make_shared<const ServerSettings>()) {}

    std::shared_ptr<const ServerSettings> get() const {
        const std::scoped_lock guard(m_lock);
        return m_current;
    }
    void set(ServerSettings settings) {
        auto next = std::make_shared<const ServerSettings>(std::move(settings));
        const std::scoped_lock guard(m_lock);
        m_current = std::move(next);
    }

private:
    mutable std::mutex m_lock;
    std::shared_ptr<const ServerSettings> m_current;
};

} // namespace velmora::server
