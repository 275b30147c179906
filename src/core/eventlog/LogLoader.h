#pragma once

#include <cstddef>
#include <string>

#include "core/eventlog/EventStore.h"

namespace velmora {

struct LoadReport {
    std::size_t files = 0;  // log files read
    std::size_t bytes = 0;  // their bytes
    std::size_t events = 0; // events entered
};

// Builds the event list from the log files of a data directory, as the console does once at
// start: every entry whose extension is "log", in the order the directory lists them; each file
// read once, in pieces of at most 1023 bytes through the line feed; every piece with its four
// fields enters the list as a new event (counted, at the top) and nothing is formatted. A
// missing directory, a file that cannot be read or a piece without four fields is passed over
// silently.
//
// `blockBytes` bounds the arena blocks files are read into; tests make it small to cut pieces
// at block boundaries.
LoadReport loadLogFiles(const std::string& dataDirectory, EventStore& store,
                        std::size_t blockBytes = TextArena::kMaxBlockBytes);

} // namespace velmora
