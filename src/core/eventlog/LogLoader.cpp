#include "core/eventlog/LogLoader.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "core/eventlog/LogDirectory.h"
#include "core/eventlog/LogLineReader.h"
#include "core/eventlog/Utf8.h"

namespace velmora {

namespace {

// A log file opened for reading, closed on every way out.
class LogFile {
public:
    explicit LogFile(const std::string& path)
        // O_NONBLOCK: a FIFO named like a log file must not hang the start of the console.
        : m_fd(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {
        struct stat st {};
        // Directories, devices and sockets named *.log are not log files.
        if (m_fd >= 0 && (::fstat(m_fd, &st) != 0 || !S_ISREG(st.st_mode))) {
            ::close(m_fd);
            m_fd = -1;
        }
        if (m_fd >= 0) {
            ::posix_fadvise(m_fd, 0, 0, POSIX_FADV_SEQUENTIAL);
        }
    }
    LogFile(const LogFile&) = delete;
    LogFile& operator=(const LogFile&) = delete;
    ~LogFile() {
        if (m_fd >= 0) {
            ::close(m_fd);
        }
    }

    bool valid() const { return m_fd >= 0; }

    // Reads up to capacity bytes: 0 at the end of the file, -1 on a read error.
    ssize_t read(char* data, std::size_t capacity) const {
        ssize_t n = 0;
        do {
            n = ::read(m_fd, data, capacity);
        } while (n < 0 && errno == EINTR);
        return n;
    }

private:
    int m_fd;
};

// Enters the pieces of log files into the store. A file is read in blocks into one buffer
// that is used again for every block; a piece cut by the end of a block is carried to the
// start of the next. Only the date and the message of a line are copied into the store.
class Loader {
public:
    Loader(EventStore& store, std::size_t readBytes)
        : m_store(store)
        , m_readBytes(std::max<std::size_t>(readBytes, 1))
        , m_buffer(m_readBytes + kMaxPieceBytes) {}

    // Returns whether the file could be opened. A read error ends the file where it occurs.
    bool loadFile(const std::string& path, LoadReport& report) {
        const LogFile file(path);
        if (!file.valid()) {
            return false;
        }
        m_lineStart = true;
        std::size_t carried = 0;
        for (;;) {
            const ssize_t n = file.read(m_buffer.data() + carried, m_readBytes);
            if (n < 0) {
                return true;
            }
            report.bytes += static_cast<std::size_t>(n);
            const std::string_view block(m_buffer.data(), carried + static_cast<std::size_t>(n));
            const bool atEnd = n == 0;
            const std::size_t consumed = enterBlock(block, atEnd);
            if (atEnd) {
                return true;
            }
            carried = block.size() - consumed;
            std::memmove(m_buffer.data(), m_buffer.data() + consumed, carried);
        }
    }

    std::size_t events() const { return m_events; }

private:
    EventStore& m_store;
    std::size_t m_readBytes;
    std::vector<char> m_buffer;
    std::size_t m_events = 0;
    bool m_lineStart = true; // the next piece starts a line (it follows a line feed)

    // Enters every piece of the block, or every whole piece when more of the file follows;
    // returns the bytes they cover.
    std::size_t enterBlock(std::string_view block, bool atEnd) {
        // Most text is valid UTF-8: checking the block's whole lines at once is much cheaper
        // than checking line by line. A piece that is a whole line inside a valid stretch of
        // whole lines is valid too, since a line feed always ends a character.
        const std::size_t linesEnd = atEnd ? block.size() : endOfLastLine(block);
        const bool linesValid = linesEnd > 0 && isValidUtf8(block.substr(0, linesEnd));
        const char* const blockEnd = block.data() + block.size();
        const auto enter = [&](std::string_view piece) {
            const bool startsLine = m_lineStart;
            m_lineStart = piece.back() == '\n';
            const bool endsLine = m_lineStart || (atEnd && piece.data() + piece.size() == blockEnd);
            enterPiece(piece, linesValid && startsLine && endsLine);
        };
        if (!atEnd) {
            return forEachCompletePiece(block, enter);
        }
        forEachPiece(block, enter);
        return block.size();
    }

    static std::size_t endOfLastLine(std::string_view block) {
        const void* lineFeed = ::memrchr(block.data(), '\n', block.size());
        return lineFeed == nullptr
                   ? 0
                   : static_cast<std::size_t>(static_cast<const char*>(lineFeed) - block.data()) +
                         1;
    }

    void enterPiece(std::string_view piece, bool knownValid) {
        const std::optional<LogFields> fields = parseLogPiece(piece);
        if (!fields) {
            return;
        }
        ++m_events;
        const char* begin = fields->date.data();
        const char* end = fields->message.data() + fields->message.size();
        if (knownValid ||
            isValidUtf8(std::string_view(begin, static_cast<std::size_t>(end - begin)))) {
            m_store.insertLine(fields->date, m_store.priorities().intern(fields->priority),
                               m_store.hosts().intern(fields->host), fields->message);
            return;
        }
        const std::string date = decodeLenient(fields->date);
        const std::string priority = decodeLenient(fields->priority);
        const std::string host = decodeLenient(fields->host);
        const std::string message = decodeLenient(fields->message);
        m_store.insert({date, priority, host, message});
    }
};

} // namespace

LoadReport loadLogFiles(const std::string& dataDirectory, EventStore& store,
                        std::size_t readBytes) {
    LoadReport report;
    const Result<std::vector<std::string>> names = listLogFiles(dataDirectory);
    if (!names) {
        return report;
    }
    Loader loader(store, readBytes);
    for (const std::string& name : *names) {
        if (loader.loadFile(std::string(dataDirectory).append("/").append(name), report)) {
            ++report.files;
        }
    }
    report.events = loader.events();
    return report;
}

LoadReport initializeLog(const SettingsStore& settings, EventStore& store,
                         RuntimeSettings& runtime) {
    store.counters().reset();
    runtime = RuntimeSettings::load(settings.readDictionary());
    return loadLogFiles(settings.dataDirectory(), store);
}

} // namespace velmora
