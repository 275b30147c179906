#include "server/LogFileWriter.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "core/system/FileHandles.h"

namespace velmora::server {

namespace {

constexpr std::size_t kChunkBytes = 256 * 1024;
constexpr mode_t kLogFileMode = 0660;
constexpr int kLogFileFlags = O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOFOLLOW;

Error ioError(std::string_view what, const std::string& path, int error) {
    return {ErrorCode::Io, std::string(what) + " " + path + ": " + std::strerror(error)};
}

// The file's advisory lock, held for the length of one write.
class FileLock {
public:
    explicit FileLock(int fd)
        : m_fd(fd) {
        while (::flock(m_fd, LOCK_EX) != 0 && errno == EINTR) {
        }
    }
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;
    ~FileLock() { ::flock(m_fd, LOCK_UN); }

private:
    int m_fd;
};

} // namespace

LogFileWriter::LogFileWriter(std::string directory)
    : m_directory(std::move(directory)) {}

LogFileWriter::~LogFileWriter() {
    if (m_fd >= 0) {
        ::fdatasync(m_fd);
        ::close(m_fd);
    }
}

Status LogFileWriter::openDay(std::int64_t date) {
    if (m_fd >= 0) {
        if (date >= m_dayStart && date < m_dayEnd) {
            return {};
        }
        if (Status synced = sync(); !synced) {
            return synced;
        }
        ::close(m_fd);
        m_fd = -1;
    }
    auto seconds = static_cast<std::time_t>(date);
    std::tm local{};
    ::localtime_r(&seconds, &local);
    char name[32];
    std::strftime(name, sizeof name, "%Y-%m-%d.log", &local);
    local.tm_hour = local.tm_min = local.tm_sec = 0;
    local.tm_isdst = -1;
    m_dayStart = std::mktime(&local);
    ++local.tm_mday;
    local.tm_isdst = -1;
    m_dayEnd = std::mktime(&local);
    m_path = m_directory + "/" + name;
    return openFile();
}

Status LogFileWriter::openFile() {
    m_fd = ::open(m_path.c_str(), kLogFileFlags, kLogFileMode);
    if (m_fd < 0) {
        return ioError("cannot open", m_path, errno);
    }
    return {};
}

// The console removes a file whose every line it deleted; lines appended to the removed file
// would be lost, so the file is created again.
Status LogFileWriter::reopenIfReplaced() {
    struct stat open {};
    struct stat named {};
    if (::fstat(m_fd, &open) == 0 && ::stat(m_path.c_str(), &named) == 0 &&
        open.st_ino == named.st_ino && open.st_dev == named.st_dev) {
        return {};
    }
    ::close(m_fd);
    return openFile();
}

Status LogFileWriter::writeChunk() {
    if (m_chunk.empty()) {
        return {};
    }
    for (int attempt = 0;; ++attempt) {
        const FileLock lock(m_fd);
        struct stat before {};
        if (::fstat(m_fd, &before) != 0) {
            return ioError("cannot write", m_path, errno);
        }
        if (before.st_nlink == 0 && attempt == 0) {
            if (Status reopened = reopenIfReplaced(); !reopened) {
                return reopened;
            }
            continue; // lock the new file
        }
        if (!writeAll(m_fd, m_chunk)) {
            const int error = errno;
            // No partial line may stay behind.
            [[maybe_unused]] const int cut = ::ftruncate(m_fd, before.st_size);
            return ioError("cannot write", m_path, error);
        }
        break;
    }
    m_dirty = true;
    m_chunk.clear();
    return {};
}

LogFileWriter::Outcome LogFileWriter::append(std::span<const LogEvent> events) {
    Outcome outcome;
    const auto flush = [&](std::size_t end) {
        if (Status written = writeChunk(); !written) {
            m_chunk.clear();
            outcome.error = written.error();
            return false;
        }
        outcome.written = end;
        return true;
    };
    for (std::size_t i = 0; i < events.size(); ++i) {
        const LogEvent& event = events[i];
        if (m_fd < 0 || event.date < m_dayStart || event.date >= m_dayEnd) {
            if (!flush(i)) {
                return outcome;
            }
            if (Status opened = openDay(event.date); !opened) {
                outcome.error = opened.error();
                return outcome;
            }
            if (Status checked = reopenIfReplaced(); !checked) {
                outcome.error = checked.error();
                return outcome;
            }
        }
        appendLogLine(m_chunk, event);
        if (m_chunk.size() >= kChunkBytes && !flush(i + 1)) {
            return outcome;
        }
    }
    flush(events.size());
    return outcome;
}

Status LogFileWriter::sync() {
    if (m_fd < 0 || !m_dirty) {
        return {};
    }
    if (::fdatasync(m_fd) != 0) {
        return ioError("cannot sync", m_path, errno);
    }
    m_dirty = false;
    return {};
}

} // namespace velmora::server
