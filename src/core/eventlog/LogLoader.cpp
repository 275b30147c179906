#include "core/eventlog/LogLoader.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "core/eventlog/LogDirectory.h"
#include "core/eventlog/LogLineReader.h"
#include "core/eventlog/Utf8.h"

namespace velmora {

namespace {

// A file that grows while it is read continues in blocks of at least this size.
constexpr std::size_t kMinBlockBytes = std::size_t{1} << 20;

class FileReader {
public:
    explicit FileReader(int fd)
        : m_fd(fd) {}
    FileReader(const FileReader&) = delete;
    FileReader& operator=(const FileReader&) = delete;
    ~FileReader() {
        if (m_fd >= 0) {
            ::close(m_fd);
        }
    }
    bool valid() const { return m_fd >= 0; }
    int fd() const { return m_fd; }

    // Fills [data, data + capacity) as far as the file goes. Returns the bytes read, or -1 on a
    // read error.
    std::ptrdiff_t fill(char* data, std::size_t capacity) {
        std::size_t filled = 0;
        while (filled < capacity) {
            const ssize_t n = ::read(m_fd, data + filled, capacity - filled);
            if (n == 0) {
                m_atEnd = true;
                break;
            }
            if (n < 0) {
                if (errno == EINTR) {
                    continue;
                }
                return -1;
            }
            filled += static_cast<std::size_t>(n);
        }
        return static_cast<std::ptrdiff_t>(filled);
    }
    bool atEnd() const { return m_atEnd; }

private:
    int m_fd;
    bool m_atEnd = false;
};

class Loader {
public:
    explicit Loader(EventStore& store)
        : m_store(store) {}

    // One block of a file: every whole piece enters the list. Returns the bytes of a last,
    // incomplete piece (the file goes on in the next block).
    std::size_t parseBlock(std::uint32_t block, const char* data, std::size_t size, bool atEnd) {
        const std::string_view bytes(data, size);
        const auto visit = [&](std::string_view piece) { enter(block, data, piece); };
        if (atEnd) {
            forEachPiece(bytes, visit);
            return 0;
        }
        return size - forEachCompletePiece(bytes, visit);
    }

    std::size_t events() const { return m_events; }

private:
    EventStore& m_store;
    std::size_t m_events = 0;

    void enter(std::uint32_t block, const char* blockData, std::string_view piece) {
        const std::optional<LogFields> fields = parseLogPiece(piece);
        if (!fields) {
            return;
        }
        ++m_events;
        const char* begin = fields->date.data();
        const char* end = fields->message.data() + fields->message.size();
        if (!isValidUtf8(std::string_view(begin, static_cast<std::size_t>(end - begin)))) {
            const std::string date = decodeLenient(fields->date);
            const std::string priority = decodeLenient(fields->priority);
            const std::string host = decodeLenient(fields->host);
            const std::string message = decodeLenient(fields->message);
            m_store.insert({date, priority, host, message});
            return;
        }
        m_store.insertLoaded({block, static_cast<std::uint32_t>(begin - blockData)},
                             static_cast<std::uint16_t>(fields->date.size()),
                             static_cast<std::uint16_t>(fields->message.data() - begin),
                             static_cast<std::uint16_t>(fields->message.size()),
                             m_store.priorities().intern(fields->priority),
                             m_store.hosts().intern(fields->host));
    }
};

// Reads one file into arena blocks. A piece never spans two blocks: the bytes of a piece cut by
// the end of a block are carried to the start of the next.
bool loadFile(const std::string& path, EventStore& store, Loader& loader, std::size_t blockBytes,
              LoadReport& report) {
    // O_NONBLOCK: a FIFO named like a log file must not hang the start of the console.
    FileReader file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat st {};
    if (!file.valid() || ::fstat(file.fd(), &st) != 0 || !S_ISREG(st.st_mode)) {
        return false; // directories, devices and sockets named *.log are not log files
    }
    std::size_t expected = static_cast<std::size_t>(st.st_size);
    std::string carry;
    for (;;) {
        const std::size_t capacity =
            std::max(std::min(blockBytes,
                              std::max(expected + carry.size() + kMaxPieceBytes, kMinBlockBytes)),
                     carry.size() + kMaxPieceBytes);
        std::uint32_t block = 0;
        char* data = store.arena().openBlock(capacity, block);
        if (data == nullptr) {
            return false;
        }
        std::memcpy(data, carry.data(), carry.size());
        const std::ptrdiff_t read = file.fill(data + carry.size(), capacity - carry.size());
        if (read < 0) {
            store.arena().commit(block, 0);
            return report.bytes > 0;
        }
        const std::size_t size = carry.size() + static_cast<std::size_t>(read);
        report.bytes += static_cast<std::size_t>(read);
        expected -= std::min(expected, static_cast<std::size_t>(read));
        const std::size_t rest = loader.parseBlock(block, data, size, file.atEnd());
        carry.assign(data + size - rest, rest);
        store.arena().commit(block, size - rest);
        if (file.atEnd()) {
            return true;
        }
    }
}

} // namespace

LoadReport loadLogFiles(const std::string& dataDirectory, EventStore& store,
                        std::size_t blockBytes) {
    LoadReport report;
    const Result<std::vector<std::string>> names = listLogFiles(dataDirectory);
    if (!names) {
        return report;
    }
    Loader loader(store);
    for (const std::string& name : *names) {
        if (loadFile(dataDirectory + "/" + name, store, loader, blockBytes, report)) {
            ++report.files;
        }
    }
    report.events = loader.events();
    return report;
}

} // namespace velmora
