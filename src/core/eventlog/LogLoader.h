#pragma once

#include <cstddef>
#include <string>

#include "core/eventlog/EventStore.h"
#include "core/settings/RuntimeSettings.h"
#include "core/settings/SettingsStore.h"

namespace velmora {

struct LoadReport {
    std::size_t files = 0;  // log files read
    std::size_t bytes = 0;  // their bytes
    std::size_t events = 0; // events entered
};

// The bytes of one read: small enough to stay in the processor's cache, where the pieces are
// cut and their fields copied out, large enough that system calls cost little.
inline constexpr std::size_t kLoaderReadBytes = std::size_t{512} << 10;

// Builds the event list from the log files of a data directory, as the console does once at
// start: every entry whose extension is "log", in the order the directory lists them; each file
// read once, in pieces of at most 1023 bytes through the line feed; every piece with its four
// fields enters the list as a new event (counted, at the top) and nothing is formatted. A
// missing directory, a file that cannot be opened or read, or a piece without four fields is
// passed over silently. Fields that are not valid UTF-8 are decoded leniently (see Utf8.h).
//
// `readBytes` is the size of each read; tests make it small to cut pieces at read boundaries.
LoadReport loadLogFiles(const std::string& dataDirectory, EventStore& store,
                        std::size_t readBytes = kLoaderReadBytes);

// The console's start (`initializeLog`): the nine counters to 0; the run-time settings loaded
// from the settings file (with no file, or one that does not decode, the default levels and
// popups off; a file without a level key gives that level 0); then every log file of the
// settings' data directory through loadLogFiles. Meant for the empty list of a new store.
LoadReport initializeLog(const SettingsStore& settings, EventStore& store,
                         RuntimeSettings& runtime);

} // namespace velmora
