#pragma once

#include "core/archive/Value.h"

namespace velmora::test {

// An include or exclude filter record as the console stores it.
inline Value filterRecord(const char* ip, const char* mask, const char* facility,
                          const char* severity, const char* message) {
    return Value(Dictionary{{"Name", "f"},
                            {"IP", ip},
                            {"Mask", mask},
                            {"Facility", facility},
                            {"Severity", severity},
                            {"Message", message}});
}

} // namespace velmora::test
