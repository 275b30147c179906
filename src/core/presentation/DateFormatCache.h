#pragma once

#include <cstddef>
#include <memory>
#include <string_view>
#include <vector>

#include "core/presentation/DateFormat.h"

namespace velmora {

// The few display formats in use at once (the current one, the previous one, a row's older
// one), built once each: building an ICU formatter costs far more than using it.
//
// A reference from get() stays valid as long as its format is among the kCapacity most recently
// asked for, so the formats of kCapacity consecutive calls can be used together. Not safe for
// concurrent use (nor are the formats it holds).
class DateFormatCache {
public:
    static constexpr std::size_t kCapacity = 4;

    const DateFormat& get(std::string_view displayFormat);
    // Forgets every format, for instance after reloadDefaultTimeZone().
    void clear() { m_formats.clear(); }

private:
    std::vector<std::unique_ptr<DateFormat>> m_formats; // least recently used first
};

} // namespace velmora
