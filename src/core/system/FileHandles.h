#pragma once

#include <cerrno>
#include <dirent.h>
#include <memory>
#include <string_view>
#include <unistd.h>

namespace velmora {

// A file descriptor closed on every path out of a scope.
class FileDescriptor {
public:
    explicit FileDescriptor(int fd)
        : m_fd(fd) {}
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    ~FileDescriptor() {
        if (m_fd >= 0) {
            ::close(m_fd);
        }
    }

    int get() const { return m_fd; }
    bool valid() const { return m_fd >= 0; }
    // Closes now and reports whether the close (which may flush) succeeded.
    bool close() {
        const int fd = m_fd;
        m_fd = -1;
        return ::close(fd) == 0;
    }

private:
    int m_fd;
};

struct DirectoryCloser {
    void operator()(DIR* directory) const { ::closedir(directory); }
};
// An open directory stream, closed on every path out of a scope.
using DirectoryHandle = std::unique_ptr<DIR, DirectoryCloser>;

// Writes all the bytes at the file's offset, again after an interruption or a short write.
// False on an error, errno telling which (EIO for a write that took nothing).
inline bool writeAll(int fd, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t n = ::write(fd, bytes.data(), bytes.size());
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            if (n == 0) {
                errno = EIO;
            }
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(n));
    }
    return true;
}

} // namespace velmora
