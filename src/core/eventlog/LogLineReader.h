#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "core/Result.h"

namespace velmora {

// How log files are cut into lines. A file is read in pieces as a line-oriented read with a
// 1,024-byte buffer reads it: each piece holds at most 1,023 bytes, up to and including a line
// feed, so a longer line comes in several pieces and the last piece of a file may lack its line
// feed. A NUL byte does not end a piece. Every piece is then read as a line of its own; the
// console, the report and the deletion all see the same pieces.
inline constexpr std::size_t kMaxPieceBytes = 1023;

// The four fields of a log line, as views into the piece they were read from.
struct LogFields {
    std::string_view date;
    std::string_view priority;
    std::string_view host;
    std::string_view message;
};

// Splits a piece into its four fields, or gives nothing when one is missing. The fields are
// tokens as strtok cuts them: date, priority and host each end at a comma, CR or LF, the
// message at a CR or LF only; separators before a field are skipped, so a run of separators
// counts as one and no field is empty, and a message may begin with a comma (only CR and LF
// are skipped after the host's own separator). The piece is read as a C string: a NUL byte
// ends it. Anything after the message is ignored.
std::optional<LogFields> parseLogPiece(std::string_view piece) noexcept;

namespace detail {

// Calls the visitor; a visitor that returns bool stops the walk by returning false.
template <typename F, typename... Args>
bool visitGoesOn(F& visit, Args&&... args) {
    if constexpr (std::is_same_v<std::invoke_result_t<F&, Args...>, bool>) {
        return visit(std::forward<Args>(args)...);
    } else {
        visit(std::forward<Args>(args)...);
        return true;
    }
}

// Cuts data into pieces from its start. With atEnd false a last piece that is still short of
// its line feed and of 1,023 bytes is not visited (more bytes of the file may follow). Returns
// the number of bytes covered by the visited pieces.
template <typename F>
std::size_t splitPieces(std::string_view data, bool atEnd, F& visit) {
    const char* const begin = data.data();
    const char* const end = begin + data.size();
    const char* pos = begin;
    while (pos != end) {
        const std::size_t window = std::min(static_cast<std::size_t>(end - pos), kMaxPieceBytes);
        const void* lineFeed = std::memchr(pos, '\n', window);
        if (lineFeed == nullptr && window < kMaxPieceBytes && !atEnd) {
            break;
        }
        const char* stop =
            lineFeed != nullptr ? static_cast<const char*>(lineFeed) + 1 : pos + window;
        const std::string_view piece(pos, static_cast<std::size_t>(stop - pos));
        pos = stop;
        if (!visitGoesOn(visit, piece)) {
            break;
        }
    }
    return static_cast<std::size_t>(pos - begin);
}

} // namespace detail

// Calls visit(std::string_view piece) for every piece of data, the whole content of a file, in
// order. Each piece is a view into data, line feed included, so its byte offset in the file is
// piece.data() - data.data(). A visitor that returns bool stops the walk by returning false.
template <typename F>
void forEachPiece(std::string_view data, F&& visit) {
    detail::splitPieces(data, true, visit);
}

// As forEachPiece for data that is only the start of a file still being read: a last piece
// that is short of both its line feed and 1,023 bytes is not visited, because the file's next
// bytes may continue it. Returns the number of bytes of the visited pieces; the rest is that
// unfinished piece, to be read again in front of the next bytes.
template <typename F>
std::size_t forEachCompletePiece(std::string_view data, F&& visit) {
    return detail::splitPieces(data, false, visit);
}

// Reads a log file from start to end in large blocks, cutting it into pieces across the block
// boundaries. Only regular files are read: a directory, a FIFO or a device named like a log
// file gives an error value when opened, as does a file that does not exist or may not be read.
class LogLineReader {
public:
    static constexpr std::size_t kDefaultBlockBytes = std::size_t{1} << 20;

    static Result<LogLineReader> open(const std::string& path,
                                      std::size_t blockBytes = kDefaultBlockBytes);
    // As open(), for a file the caller has open and keeps open: the reader reads a duplicate of
    // `fd` from the start of the file and closes only the duplicate. The two share one file
    // offset, so the caller reads `fd` only with pread() meanwhile. `path` names the file in
    // error messages.
    static Result<LogLineReader> openDuplicate(int fd, const std::string& path,
                                               std::size_t blockBytes = kDefaultBlockBytes);

    LogLineReader(LogLineReader&& other) noexcept;
    LogLineReader& operator=(LogLineReader&& other) noexcept;
    LogLineReader(const LogLineReader&) = delete;
    LogLineReader& operator=(const LogLineReader&) = delete;
    ~LogLineReader();

    // Calls visit(std::string_view piece, std::uint64_t offset) for each piece of the file in
    // order, offset being the file offset of the piece's first byte. The piece stays valid only
    // during the call. A visitor that returns bool stops the reading by returning false. A read
    // error ends the walk with an error value after the pieces read before it were visited. The
    // file is read once: a second call visits nothing.
    template <typename F>
    Status forEachPiece(F&& visit);

private:
    struct Block {
        std::string_view bytes; // the carried unfinished piece, then the bytes just read
        std::uint64_t offset;   // the file offset of bytes[0]
        bool atEnd;             // no more bytes follow
    };

    LogLineReader(int fd, std::size_t blockBytes, std::string path);
    static LogLineReader startReading(int fd, std::uint64_t size, const std::string& path,
                                      std::size_t blockBytes);
    Result<Block> readBlock();
    // Keeps the bytes of the last block from consumed on, in front of the next block.
    void carryFrom(std::size_t consumed);
    void close() noexcept;

    int m_fd = -1;
    std::size_t m_blockBytes = kDefaultBlockBytes;
    std::vector<char> m_buffer;
    std::string m_path;         // for error messages
    std::size_t m_filled = 0;   // bytes of m_buffer in use
    std::uint64_t m_offset = 0; // the file offset of m_buffer[0]
};

template <typename F>
Status LogLineReader::forEachPiece(F&& visit) {
    bool goesOn = true;
    while (goesOn) {
        const Result<Block> block = readBlock();
        if (!block) {
            return block.error();
        }
        auto visitWithOffset = [&visit, &goesOn, &block](std::string_view piece) {
            const auto at = static_cast<std::uint64_t>(piece.data() - block->bytes.data());
            goesOn = detail::visitGoesOn(visit, piece, block->offset + at);
            return goesOn;
        };
        const std::size_t consumed =
            detail::splitPieces(block->bytes, block->atEnd, visitWithOffset);
        if (block->atEnd) {
            break;
        }
        carryFrom(consumed);
    }
    close();
    return {};
}

// Reads a whole regular file into out (replacing its content) with a few large reads: its size
// from fstat, then on to the end in case the file grew meanwhile. Errors as for
// LogLineReader::open, and an error value when a read fails.
Status readFileInto(const std::string& path, std::vector<char>& out);

} // namespace velmora
