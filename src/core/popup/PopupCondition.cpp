#include "core/popup/PopupCondition.h"

namespace velmora {

void PopupCondition::signal() {
    {
        const std::scoped_lock lock(m_mutex);
        m_signalled = true;
    }
    m_changed.notify_all();
}

bool PopupCondition::signalled() const {
    const std::scoped_lock lock(m_mutex);
    return m_signalled;
}

bool PopupCondition::wait(std::stop_token stop) {
    std::unique_lock lock(m_mutex);
    return m_changed.wait(lock, stop, [this] { return m_signalled; });
}

} // namespace velmora
