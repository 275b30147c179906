#pragma once

#include <dirent.h>
#include <memory>
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

} // namespace velmora
