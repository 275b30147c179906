#include "core/eventlog/LogRewriter.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <new>
#include <span>
#include <string_view>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <thread>
#include <unistd.h>
#include <utility>

#include "core/eventlog/LogDirectory.h"
#include "core/eventlog/LogLineReader.h"
#include "core/eventlog/Utf8.h"
#include "core/presentation/Severity.h"
#include "core/system/HugePageAllocator.h"

namespace velmora {

namespace {

constexpr std::size_t kMaxIovecs = 1024; // IOV_MAX
constexpr std::size_t kProgressBytes = std::size_t{32} << 20;

Error fileError(std::string_view what, const std::string& path, int error) {
    return {error == ENOENT ? ErrorCode::NotFound : ErrorCode::Io,
            std::string(what) + " " + path + ": " + std::strerror(error)};
}

// The second field of a line as the server's fields are cut: separators are comma, CR and LF,
// those before a field are skipped, and the line ends at a NUL byte. Empty when there is none.
std::string_view secondField(std::string_view line) {
    constexpr std::string_view kSeparators = ",\r\n";
    line = line.substr(0, line.find('\0'));
    const std::size_t first = line.find_first_not_of(kSeparators);
    const std::size_t firstEnd = line.find_first_of(kSeparators, first);
    const std::size_t second = line.find_first_not_of(kSeparators, firstEnd);
    if (second == std::string_view::npos) {
        return {};
    }
    return line.substr(second, line.find_first_of(kSeparators, second) - second);
}

// The UTF-16 code units of valid UTF-8: one per byte that starts a character, one more for each
// character of four bytes. Eight bytes at a time: this runs over every kept line.
std::size_t utf16LengthOfValid(std::string_view text) {
    constexpr std::uint64_t kHighBits = 0x8080808080808080;
    constexpr std::uint64_t kOnes = 0x0101010101010101;
    // The number of bytes whose high bit is set in a word of high bits.
    const auto count = [](std::uint64_t highBits) {
        return static_cast<std::size_t>(((highBits >> 7) * kOnes) >> 56);
    };
    std::size_t units = text.size();
    std::size_t pos = 0;
    for (; pos + 8 <= text.size(); pos += 8) {
        std::uint64_t word;
        std::memcpy(&word, text.data() + pos, 8);
        const std::uint64_t continuation = word & ~(word << 1) & kHighBits; // 10xxxxxx
        const std::uint64_t fourByteLead =
            word & (word << 1) & (word << 2) & (word << 3) & kHighBits; // 1111xxxx
        units += count(fourByteLead) - count(continuation);
    }
    for (; pos < text.size(); ++pos) {
        const auto byte = static_cast<unsigned char>(text[pos]);
        units += byte >= 0xF0 ? 1 : 0;
        units -= (byte & 0xC0) == 0x80 ? 1 : 0;
    }
    return units;
}

bool isText(std::string_view bytes) {
    return bytes.find('\0') == std::string_view::npos && isValidUtf8(bytes);
}

// How many leading bytes of a kept piece the rewritten file holds: one per UTF-16 code unit of
// its text; a piece that is no text is kept whole. `known` says the piece is text already: a
// whole line of a file that is text throughout.
std::size_t keptLength(std::string_view piece, bool known) {
    return known || isText(piece) ? utf16LengthOfValid(piece) : piece.size();
}

// A file's content, read whole. Its memory serves file after file and asks for huge pages:
// faulting in a large file's worth of fresh memory costs more than reading the file.
class ContentBuffer {
public:
    // Reads up to `length` bytes from the start of the file; fewer when it ends sooner. False
    // with errno set when it cannot.
    bool read(int fd, std::uint64_t length) {
        try {
            m_bytes.resize(static_cast<std::size_t>(length));
        } catch (const std::bad_alloc&) {
            errno = ENOMEM;
            return false;
        }
        std::size_t filled = 0;
        while (filled < m_bytes.size()) {
            const ssize_t n = ::pread(fd, m_bytes.data() + filled, m_bytes.size() - filled,
                                      static_cast<off_t>(filled));
            if (n < 0 && errno == EINTR) {
                continue;
            }
            if (n <= 0) {
                m_bytes.resize(filled);
                return n == 0;
            }
            filled += static_cast<std::size_t>(n);
        }
        return true;
    }
    std::string_view view() const { return {m_bytes.data(), m_bytes.size()}; }
    std::size_t size() const { return m_bytes.size(); }

private:
    HugePageVector<char> m_bytes;
};

class Descriptor {
public:
    explicit Descriptor(int fd = -1)
        : m_fd(fd) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { reset(); }
    int get() const { return m_fd; }
    void reset(int fd = -1) {
        if (m_fd >= 0) {
            ::close(m_fd);
        }
        m_fd = fd;
    }

private:
    int m_fd;
};

// The file's advisory lock, held for a moment: a writer that takes it around each append is
// never blocked for long, so one that holds it much longer is not waited for.
class AppendLock {
public:
    explicit AppendLock(int fd)
        : m_fd(fd) {
        using Clock = std::chrono::steady_clock;
        const Clock::time_point giveUp = Clock::now() + std::chrono::milliseconds(100);
        while (!m_held && Clock::now() < giveUp) {
            m_held = ::flock(m_fd, LOCK_EX | LOCK_NB) == 0;
            if (!m_held && errno != EWOULDBLOCK && errno != EINTR) {
                break;
            }
            if (!m_held) {
                std::this_thread::yield();
            }
        }
    }
    AppendLock(const AppendLock&) = delete;
    AppendLock& operator=(const AppendLock&) = delete;
    ~AppendLock() {
        if (m_held) {
            ::flock(m_fd, LOCK_UN);
        }
    }

private:
    int m_fd;
    bool m_held = false;
};

// Appends the `length` bytes of the file from `from` on, fewer when it ends sooner. False on a
// read error.
bool readRange(int fd, std::uint64_t from, std::uint64_t length, std::string& out) {
    const std::size_t start = out.size();
    try {
        out.resize(start + static_cast<std::size_t>(length));
    } catch (const std::bad_alloc&) {
        errno = ENOMEM;
        return false;
    }
    std::size_t filled = 0;
    while (filled < length) {
        const ssize_t n = ::pread(fd, out.data() + start + filled, out.size() - start - filled,
                                  static_cast<off_t>(from + filled));
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            out.resize(start + filled);
            return n == 0;
        }
        filled += static_cast<std::size_t>(n);
    }
    return true;
}

std::uint64_t fileSize(const std::string& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode)
               ? static_cast<std::uint64_t>(status.st_size)
               : 0;
}

// A run of bytes of the original content that the rewritten file keeps.
struct Span {
    std::size_t offset;
    std::size_t length;
};

// Memory for the rewrite of one file. One set serves file after file: mapping fresh pages for a
// large file's content costs more than reading it.
struct RewriteBuffers {
    ContentBuffer content;
    std::vector<Span> kept;
    std::string tail;
};

// One log file's rewrite: read, matched against the table, written back in place.
class LogFileRewrite {
public:
    LogFileRewrite(std::string path, RewriteBuffers& buffers)
        : m_path(std::move(path))
        , m_content(buffers.content)
        , m_kept(buffers.kept)
        , m_tail(buffers.tail) {
        m_kept.clear();
        m_tail.clear();
    }

    // Reads the file and cuts its pieces against the table; tells `scanned` the bytes matched so
    // far now and then. Returns whether a piece was cut.
    Result<bool> readAndMatch(DeletionTable& table, RewriteReport& report,
                              const std::function<void(std::uint64_t)>& scanned);
    // Writes the kept pieces in place, carries the server's new lines behind them and cuts the
    // file to its new length (or removes it when nothing is left).
    Status write(RewriteReport& report);

private:
    std::string m_path;
    Descriptor m_fd;
    bool m_writable = false;
    std::uint64_t m_size = 0;  // when it was opened
    ContentBuffer& m_content;  // the file as read at the start
    std::vector<Span>& m_kept; // in order, adjacent runs joined
    std::uint64_t m_keptBytes = 0;
    std::string& m_tail;             // bytes appended since, in the order they were moved
    std::uint64_t m_firstChange = 0; // the bytes before it stay as they are
    std::uint64_t m_highWater = 0;   // the end of the bytes written over so far
    bool m_removed = false;

    Status open();
    void keep(std::size_t offset, std::string_view piece, bool knownText);
    Status writeKept();
    Status carryTailAndCut();
    // Moves what was appended past readTo down to writeTo, until a size check finds nothing new.
    Status carryTail(std::uint64_t& readTo, std::uint64_t& writeTo);
    Status writeAt(std::span<iovec> pieces, std::uint64_t& at);
    Status writeAt(std::string_view bytes, std::uint64_t& at);
    Error failAndRestore(std::string_view what, int error);
};

Status LogFileRewrite::open() {
    // A FIFO named like a log file would block an open without O_NONBLOCK; it is refused below.
    constexpr int kFlags = O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
    m_fd.reset(::open(m_path.c_str(), O_RDWR | kFlags));
    m_writable = m_fd.get() >= 0;
    if (!m_writable) {
        // A file that may be read but not written is still matched: its lines use up counts.
        m_fd.reset(::open(m_path.c_str(), O_RDONLY | kFlags));
    }
    if (m_fd.get() < 0) {
        return fileError("cannot open", m_path, errno);
    }
    struct stat status {};
    if (::fstat(m_fd.get(), &status) != 0) {
        return fileError("cannot read", m_path, errno);
    }
    if (!S_ISREG(status.st_mode)) {
        return Error{ErrorCode::Invalid, m_path + " is not a regular file"};
    }
    m_size = static_cast<std::uint64_t>(status.st_size);
    return {};
}

void LogFileRewrite::keep(std::size_t offset, std::string_view piece, bool knownText) {
    const std::size_t length = keptLength(piece, knownText);
    if (!m_kept.empty() && m_kept.back().offset + m_kept.back().length == offset) {
        m_kept.back().length += length;
    } else {
        m_kept.push_back({offset, length});
    }
    m_keptBytes += length;
}

Result<bool> LogFileRewrite::readAndMatch(DeletionTable& table, RewriteReport& report,
                                          const std::function<void(std::uint64_t)>& scanned) {
    if (Status opened = open(); !opened) {
        return opened.error();
    }
    // Bytes the server appends from now on are the tail, carried over after the rewrite.
    if (!m_content.read(m_fd.get(), m_size)) {
        return fileError("cannot read", m_path, errno);
    }
    const std::string_view content = m_content.view();
    report.bytesRead += content.size();
    // In a file that is text throughout, a piece from a line's start to its line feed is text;
    // only the pieces of a long line need a look of their own.
    const bool fileIsText = isText(content);
    bool atLineStart = true;
    bool cut = false;
    std::size_t reportAt = kProgressBytes;
    // Pieces are matched a batch at a time (see DeletionTable::takeEach).
    std::array<std::string_view, DeletionTable::kBatch> batch;
    std::array<bool, DeletionTable::kBatch> taken{};
    std::size_t waiting = 0;
    const auto matchWaiting = [&] {
        table.takeEach(std::span(batch.data(), waiting), taken);
        for (std::size_t i = 0; i < waiting; ++i) {
            const std::string_view piece = batch[i];
            const auto offset = static_cast<std::size_t>(piece.data() - content.data());
            if (offset >= reportAt) {
                scanned(offset);
                reportAt += kProgressBytes;
            }
            if (taken[i]) {
                ++report.deleted[deletedLineSeverity(secondField(piece))];
                cut = true;
            } else {
                keep(offset, piece, fileIsText && atLineStart && piece.back() == '\n');
            }
            atLineStart = piece.back() == '\n';
        }
        waiting = 0;
    };
    forEachPiece(content, [&](std::string_view piece) {
        batch[waiting++] = piece;
        if (waiting == batch.size()) {
            matchWaiting();
        }
    });
    matchWaiting();
    if (cut) {
        // The first run that does not start the file, or that stops short of a piece's end, is
        // where the rewritten file first differs.
        m_firstChange = !m_kept.empty() && m_kept.front().offset == 0 ? m_kept.front().length : 0;
        m_highWater = m_firstChange;
    }
    return cut;
}

Status LogFileRewrite::write(RewriteReport& report) {
    if (!m_writable) {
        return Error{ErrorCode::Io, "cannot write " + m_path + ": it may only be read"};
    }
    if (Status written = writeKept(); !written) {
        return written;
    }
    if (Status carried = carryTailAndCut(); !carried) {
        return carried;
    }
    report.bytesWritten += m_highWater - m_firstChange;
    ++(m_removed ? report.filesRemoved : report.filesRewritten);
    return {};
}

Status LogFileRewrite::writeKept() {
    std::uint64_t at = m_firstChange;
    std::vector<iovec> batch;
    batch.reserve(kMaxIovecs);
    for (const Span& span : m_kept) {
        if (span.offset + span.length <= m_firstChange) {
            continue; // the unchanged start of the file
        }
        batch.push_back({const_cast<char*>(m_content.view().data()) + span.offset, span.length});
        if (batch.size() == kMaxIovecs) {
            if (Status written = writeAt(batch, at); !written) {
                return written;
            }
            batch.clear();
        }
    }
    return writeAt(batch, at);
}

Status LogFileRewrite::carryTailAndCut() {
    std::uint64_t readTo = m_content.size();
    std::uint64_t writeTo = m_keptBytes;
    if (Status carried = carryTail(readTo, writeTo); !carried) {
        return carried;
    }
    // The server takes the file's advisory lock around each append, so it cannot append between
    // the last check and the cut: both are made holding the lock.
    const AppendLock lock(m_fd.get());
    if (Status carried = carryTail(readTo, writeTo); !carried) {
        return carried;
    }
    if (writeTo == 0) {
        // Nothing was written: a file that cannot be removed stays as it was.
        if (::unlink(m_path.c_str()) != 0) {
            return fileError("cannot remove", m_path, errno);
        }
        m_removed = true;
        return {};
    }
    if (::ftruncate(m_fd.get(), static_cast<off_t>(writeTo)) != 0) {
        return failAndRestore("cannot shorten", errno);
    }
    return {};
}

Status LogFileRewrite::carryTail(std::uint64_t& readTo, std::uint64_t& writeTo) {
    for (;;) {
        struct stat status {};
        if (::fstat(m_fd.get(), &status) != 0) {
            return failAndRestore("cannot rewrite", errno);
        }
        const auto size = static_cast<std::uint64_t>(status.st_size);
        if (size == readTo) {
            return {};
        }
        if (size < readTo) {
            return Error{ErrorCode::Io,
                         "cannot rewrite " + m_path + ": another program shortened it meanwhile"};
        }
        // The server appended lines since the file was read: they follow the kept ones.
        const std::size_t before = m_tail.size();
        if (!readRange(m_fd.get(), readTo, size - readTo, m_tail)) {
            return failAndRestore("cannot rewrite", errno);
        }
        const std::string_view moved = std::string_view(m_tail).substr(before);
        if (Status written = writeAt(moved, writeTo); !written) {
            return written;
        }
        readTo += moved.size();
    }
}

Status LogFileRewrite::writeAt(std::span<iovec> pieces, std::uint64_t& at) {
    while (!pieces.empty()) {
        const ssize_t n = ::pwritev(m_fd.get(), pieces.data(), static_cast<int>(pieces.size()),
                                    static_cast<off_t>(at));
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            return failAndRestore("cannot write", n == 0 ? EIO : errno);
        }
        at += static_cast<std::uint64_t>(n);
        m_highWater = std::max(m_highWater, at);
        auto left = static_cast<std::size_t>(n);
        while (!pieces.empty() && left >= pieces.front().iov_len) {
            left -= pieces.front().iov_len;
            pieces = pieces.subspan(1);
        }
        if (!pieces.empty()) {
            pieces.front().iov_base = static_cast<char*>(pieces.front().iov_base) + left;
            pieces.front().iov_len -= left;
        }
    }
    return {};
}

Status LogFileRewrite::writeAt(std::string_view bytes, std::uint64_t& at) {
    iovec piece{const_cast<char*>(bytes.data()), bytes.size()};
    return writeAt(std::span<iovec>(&piece, 1), at);
}

Error LogFileRewrite::failAndRestore(std::string_view what, int error) {
    Error failure = fileError(what, m_path, error);
    // The bytes written over, from the first change up to the high-water mark, were the
    // content read at the start followed by the tails moved since.
    std::uint64_t at = m_firstChange;
    while (at < m_highWater) {
        const std::size_t length = static_cast<std::size_t>(m_highWater - at);
        const std::string_view original =
            at < m_content.size() ? m_content.view().substr(static_cast<std::size_t>(at), length)
                                  : std::string_view(m_tail).substr(
                                        static_cast<std::size_t>(at - m_content.size()), length);
        const ssize_t n =
            ::pwrite(m_fd.get(), original.data(), original.size(), static_cast<off_t>(at));
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            failure.message += "; it could not be put back as it was and is damaged";
            return failure;
        }
        at += static_cast<std::uint64_t>(n);
    }
    failure.message += "; it was put back as it was";
    return failure;
}

// Reads and matches a file; memory running out on the way leaves it as it was, like any read
// error (nothing has been written yet).
Result<bool> matchWithin(LogFileRewrite& file, DeletionTable& table, RewriteReport& report,
                         const std::function<void(std::uint64_t)>& scanned) {
    try {
        return file.readAndMatch(table, report, scanned);
    } catch (const std::bad_alloc&) {
        return Error{ErrorCode::Io, "not enough memory to read a log file"};
    }
}

} // namespace

LogRewriter::LogRewriter(std::string dataDirectory)
    : m_dataDirectory(std::move(dataDirectory)) {}

RewriteReport LogRewriter::rewrite(DeletionTable& table, const RewriteProgress& progress) const {
    RewriteReport report;
    Result<std::vector<std::string>> names = listLogFiles(m_dataDirectory);
    if (!names) {
        report.problems.push_back(names.error());
        return report;
    }
    std::vector<std::string> paths;
    std::vector<std::uint64_t> sizes;
    std::uint64_t total = 0;
    for (const std::string& name : *names) {
        paths.push_back(m_dataDirectory + "/" + name);
        sizes.push_back(fileSize(paths.back()));
        total += sizes.back();
    }
    std::uint64_t done = 0;
    RewriteBuffers buffers;
    // Once every count is used up no line can go: the files left are not even read.
    for (std::size_t i = 0; i < paths.size() && !table.exhausted(); ++i) {
        LogFileRewrite file(paths[i], buffers);
        const auto scanned = [&](std::uint64_t bytes) {
            if (progress) {
                progress(done + std::min(bytes, sizes[i]), total);
            }
        };
        const Result<bool> cut = matchWithin(file, table, report, scanned);
        if (!cut) {
            report.problems.push_back(cut.error());
        } else if (*cut) {
            if (Status written = file.write(report); !written) {
                report.problems.push_back(written.error());
            }
        }
        done += sizes[i];
        if (progress) {
            progress(done, total);
        }
    }
    return report;
}

} // namespace velmora
