#pragma once

#include <atomic>
#include <cstdint>

namespace velmora::server {

// Counts the threads keep as events pass, read by the main loop for the journal.
struct Statistics {
    std::atomic<std::uint64_t> received{0};
    std::atomic<std::uint64_t> filteredOut{0};
    std::atomic<std::uint64_t> written{0};
    // UDP events that found the queue to the log files full.
    std::atomic<std::uint64_t> droppedQueueFull{0};
    // A heartbeat of the writer thread, for the service watchdog.
    std::atomic<std::uint64_t> writerTurns{0};
};

} // namespace velmora::server
