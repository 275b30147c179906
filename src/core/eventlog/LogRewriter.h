#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "core/Result.h"
#include "core/eventlog/DeletionTable.h"
#include "core/eventlog/SeverityCounters.h"

namespace velmora {

struct RewriteReport {
    // The lines cut out, by the severity the deletion rule finds in their second field
    // (deletedLineSeverity): what the dashboard's counters fall by. A line whose file could then
    // not be written counts all the same: its event has left the list.
    SeverityCounters deleted;
    std::size_t filesRewritten = 0;
    std::size_t filesRemoved = 0;
    std::uint64_t bytesRead = 0;
    std::uint64_t bytesWritten = 0;
    // One entry per file that could not be read, rewritten or removed. Each such file holds what
    // it held before, and whatever the server appended meanwhile.
    std::vector<Error> problems;
};

// Bytes of the log files dealt with so far, of their total when the rewrite began.
using RewriteProgress = std::function<void(std::uint64_t done, std::uint64_t total)>;

// Cuts the lines of a deletion table out of the log files of a data directory.
//
// Every log file is read in the order the directory lists it, in the pieces the console reads
// (at most 1,023 bytes, through a line feed); each piece is one line for matching. A piece that
// the table holds with a count above 0 is cut out and its count lowered; every other piece is
// kept. A file in which nothing was cut out is left untouched. A file with kept pieces is
// rewritten with them, in order, each written as its leading bytes, as many as the piece has
// UTF-16 code units (a piece of ASCII is written whole; one with other characters loses its
// last bytes, its line feed first, which the console has always done and must keep doing). A
// piece that is no text (not valid UTF-8, or holding a NUL byte) is kept whole. A file with no
// piece left is removed.
//
// The server keeps its log files open and appends to them at any time, so a file is rewritten
// in place: replacing it by a new file would send the server's later lines into the old one,
// which nobody reads. The rewrite is built to lose none of the server's lines and to leave a
// file whole when it fails:
//
// - The file is read whole into memory before anything is written, and only the bytes from the
//   first change on are written. Every write lands below the size the file had, so the rewrite
//   needs no free space on a full disk.
// - Lines the server appends while the file is rewritten are carried down behind the kept
//   ones: the size is checked again after each move, and the file is cut to its new length
//   only once a check finds no new bytes. The last check and the cut are made holding the
//   file's advisory lock (flock), which the server holds around each of its appends, so no
//   line can land between them. The server holds it for one write at a time; should a writer
//   keep it longer than 100 ms, the rewrite goes on without it, and a line appended between
//   the last check and the cut (two system calls) could be lost. A file removed because no
//   line is left in it is created again by the server before its next append.
// - Each byte written over is still in memory (the content read at the start and every tail
//   moved since), so a write or cut that fails puts the old bytes back: the file holds what it
//   held, plus the server's new lines. Should that also fail, or the process die in the middle,
//   the file is left half rewritten: without a second copy on disk (which the in-place rewrite
//   rules out) nothing can prevent that, and nothing is written before the kept lines are known,
//   which keeps the window short.
class LogRewriter {
public:
    explicit LogRewriter(std::string dataDirectory);

    // Uses up the table's counts as lines are cut out. Progress, if given, is told now and then
    // while files are matched and after each file, on the calling thread.
    RewriteReport rewrite(DeletionTable& table, const RewriteProgress& progress = {}) const;

private:
    std::string m_dataDirectory;
};

} // namespace velmora
