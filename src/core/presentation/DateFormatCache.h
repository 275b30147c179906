#pragma once

#include <cstddef>
#include <memory>
#include <string_view>
#include <vector>

#include "core/presentation/DateTextReader.h"
#include "core/presentation/DateTextWriter.h"

namespace velmora {

// The few display formats in use at once (the current one, the previous one, a row's older
// one), each with its writer and reader built once: building an ICU formatter costs far more
// than using it, and the writer and reader keep what they learnt of recent minutes.
//
// A reference from get() stays valid as long as its format is among the kCapacity most recently
// asked for, so the formats of kCapacity consecutive calls can be used together. Not safe for
// concurrent use (nor are the formats it holds).
class DateFormatCache {
public:
    static constexpr std::size_t kCapacity = 4;

    struct Format {
        explicit Format(std::string_view displayFormat)
            : writer(displayFormat)
            , reader(displayFormat) {}
        DateTextWriter writer;
        DateTextReader reader;
    };

    Format& get(std::string_view displayFormat);
    // Forgets every format, for instance after reloadDefaultTimeZone().
    void clear() { m_formats.clear(); }

private:
    std::vector<std::unique_ptr<Format>> m_formats; // least recently used first
};

} // namespace velmora
