#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <optional>
#include <span>
#include <string>

#include "core/Result.h"
#include "core/syslog/LogEvent.h"

namespace velmora::server {

// Appends events to the log files of a data directory, one file a day named by the event's
// local date ("2026-11-23.log"), created readable and writable by the owner and the group.
//
// Each write appends whole lines and holds the file's advisory lock (flock), the lock the
// console's deletion takes around its last size check and cut: a line is either in the file
// before that check, and so carried down by the rewrite, or appended after the cut. A write is
// at most a few hundred kilobytes, so the lock is held for a moment only. A file the console
// removed (every line deleted) or replaced is opened anew before the write. A write that
// fails part way is cut back, so the file never holds a partial line.
class LogFileWriter {
public:
    explicit LogFileWriter(std::string directory);
    LogFileWriter(const LogFileWriter&) = delete;
    LogFileWriter& operator=(const LogFileWriter&) = delete;
    ~LogFileWriter();

    struct Outcome {
        std::size_t written = 0; // the first `written` events are in their files
        std::optional<Error> error;
    };
    Outcome append(std::span<const LogEvent> events);

    // Puts what was written since the last sync on the disk (fdatasync).
    Status sync();

private:
    Status writeChunk();
    Status openDay(std::int64_t date);
    Status openFile();
    Status reopenIfReplaced();

    std::string m_directory;
    std::string m_path;
    int m_fd = -1;
    bool m_dirty = false;
    std::int64_t m_dayStart = 0; // the current file's day, [start, end) in seconds since 1970
    std::int64_t m_dayEnd = 0;
    std::string m_chunk;
};

} // namespace velmora::server
