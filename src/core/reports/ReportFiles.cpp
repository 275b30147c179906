#include "core/reports/ReportFiles.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <functional>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace velmora {

ReportFiles::ReportFiles(ReportFiles&& other) noexcept
    : m_files(std::exchange(other.m_files, {}))
    , m_window(std::move(other.m_window))
    , m_windowFile(std::exchange(other.m_windowFile, UINT32_MAX))
    , m_windowOffset(other.m_windowOffset)
    , m_windowBytes(std::exchange(other.m_windowBytes, 0)) {}

ReportFiles& ReportFiles::operator=(ReportFiles&& other) noexcept {
    if (this != &other) {
        closeAll();
        m_files = std::exchange(other.m_files, {});
        m_window = std::move(other.m_window);
        m_windowFile = std::exchange(other.m_windowFile, UINT32_MAX);
        m_windowOffset = other.m_windowOffset;
        m_windowBytes = std::exchange(other.m_windowBytes, 0);
    }
    return *this;
}

ReportFiles::~ReportFiles() {
    closeAll();
}

void ReportFiles::closeAll() noexcept {
    for (const File& file : m_files) {
        ::close(file.fd);
    }
    m_files.clear();
    m_windowFile = UINT32_MAX;
}

std::optional<std::uint32_t> ReportFiles::open(const std::string& path) {
    // O_NONBLOCK: a FIFO named like a log file must not hang the report.
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0) {
        return std::nullopt;
    }
    struct stat st {};
    if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
        ::close(fd);
        return std::nullopt;
    }
    m_files.push_back({fd, path, {}});
    return static_cast<std::uint32_t>(m_files.size() - 1);
}

void ReportFiles::stamp(std::uint32_t file, std::uint64_t lastOffset, std::size_t lastLength) {
    Stamp& stamp = m_files[file].stamp;
    struct stat st {};
    if (::fstat(m_files[file].fd, &st) == 0) {
        stamp = {st.st_dev, st.st_ino, st.st_size, st.st_mtim, lastOffset, lastLength, 0};
    }
    const std::optional<std::string_view> last = read(file, lastOffset, lastLength);
    stamp.lastHash = last ? std::hash<std::string_view>()(*last) : 0;
}

bool ReportFiles::changed(std::uint32_t file) {
    const Stamp& stamp = m_files[file].stamp;
    struct stat st {};
    if (::stat(m_files[file].path.c_str(), &st) != 0 || st.st_dev != stamp.device ||
        st.st_ino != stamp.inode || st.st_size < stamp.size) {
        return true;
    }
    if (st.st_size == stamp.size && st.st_mtim.tv_sec == stamp.modified.tv_sec &&
        st.st_mtim.tv_nsec == stamp.modified.tv_nsec) {
        return false;
    }
    // Appended to, or rewritten in place: the last line, read from the file itself and not
    // through the window, tells which.
    m_windowFile = UINT32_MAX;
    const std::optional<std::string_view> last = read(file, stamp.lastOffset, stamp.lastLength);
    return !last || std::hash<std::string_view>()(*last) != stamp.lastHash;
}

void ReportFiles::closeLast() {
    if (m_files.empty()) {
        return;
    }
    if (m_windowFile == m_files.size() - 1) {
        m_windowFile = UINT32_MAX;
    }
    ::close(m_files.back().fd);
    m_files.pop_back();
}

std::optional<std::string_view> ReportFiles::read(std::uint32_t file, std::uint64_t offset,
                                                  std::size_t length) {
    const bool inWindow = file == m_windowFile && offset >= m_windowOffset &&
                          offset + length <= m_windowOffset + m_windowBytes;
    if (!inWindow) {
        m_window.resize(std::max(kWindowBytes, length));
        ssize_t n = 0;
        do {
            n = ::pread(m_files[file].fd, m_window.data(), m_window.size(),
                        static_cast<off_t>(offset));
        } while (n < 0 && errno == EINTR);
        m_windowFile = n < 0 ? UINT32_MAX : file;
        m_windowOffset = offset;
        m_windowBytes = n < 0 ? 0 : static_cast<std::size_t>(n);
        if (m_windowBytes < length) {
            return std::nullopt;
        }
    }
    return std::string_view(m_window.data() + (offset - m_windowOffset), length);
}

} // namespace velmora
