#include "core/presentation/DateFormatCache.h"

#include <algorithm>

namespace velmora {

DateFormatCache::Format& DateFormatCache::get(std::string_view displayFormat) {
    const auto found = std::find_if(m_formats.begin(), m_formats.end(), [&](const auto& format) {
        return format->writer.displayFormat() == displayFormat;
    });
    if (found != m_formats.end()) {
        std::rotate(found, found + 1, m_formats.end());
    } else {
        if (m_formats.size() == kCapacity) {
            m_formats.erase(m_formats.begin());
        }
        m_formats.push_back(std::make_unique<Format>(displayFormat));
    }
    return *m_formats.back();
}

} // namespace velmora
