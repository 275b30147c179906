#include "core/system/AtomicFileWriter.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace velmora {

namespace {

Error ioError(std::string_view what, const std::string& path, int error) {
    return {ErrorCode::Io, std::string(what) + " " + path + ": " + std::strerror(error)};
}

// The process's umask, read without changing it (umask() can only be read by setting it, which
// would race with other threads creating files).
mode_t currentUmask() {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        unsigned mask = 0;
        if (std::sscanf(line.c_str(), "Umask: %o", &mask) == 1) {
            return static_cast<mode_t>(mask);
        }
    }
    return 022;
}

mode_t modeFor(NewFileMode mode) {
    return mode == NewFileMode::OwnerAndGroup ? mode_t{0640}
                                              : static_cast<mode_t>(0666 & ~currentUmask());
}

// Best effort: a user may give a file to a group only when a member of it.
void giveToDirectoryGroup(int fd, const std::string& path) {
    const std::string::size_type slash = path.rfind('/');
    const std::string directory = slash == std::string::npos ? "." : path.substr(0, slash + 1);
    struct stat status {};
    if (::stat(directory.c_str(), &status) == 0) {
        [[maybe_unused]] const int ignored = ::fchown(fd, static_cast<uid_t>(-1), status.st_gid);
    }
}

} // namespace

Result<AtomicFileWriter> AtomicFileWriter::open(const std::string& path, NewFileMode newFileMode) {
    struct stat existing {};
    const bool exists = ::stat(path.c_str(), &existing) == 0 && S_ISREG(existing.st_mode);

    std::string temporary = path + ".XXXXXX";
    const int fd = ::mkostemp(temporary.data(), O_CLOEXEC);
    if (fd < 0) {
        return ioError("cannot create a temporary file for", path, errno);
    }
    AtomicFileWriter writer(fd, path, std::move(temporary));
    if (exists) {
        // Best effort: only root may give the file back to another owner.
        [[maybe_unused]] const int ignored = ::fchown(fd, existing.st_uid, existing.st_gid);
    } else if (newFileMode == NewFileMode::OwnerAndGroup) {
        giveToDirectoryGroup(fd, path);
    }
    const mode_t mode =
        exists ? static_cast<mode_t>(existing.st_mode & 07777) : modeFor(newFileMode);
    if (::fchmod(fd, mode) != 0) {
        return ioError("cannot write", writer.m_temporary, errno);
    }
    return writer;
}

AtomicFileWriter::AtomicFileWriter(int fd, std::string path, std::string temporary)
    : m_fd(fd)
    , m_path(std::move(path))
    , m_temporary(std::move(temporary)) {}

AtomicFileWriter::AtomicFileWriter(AtomicFileWriter&& other) noexcept
    : m_fd(std::exchange(other.m_fd, -1))
    , m_path(std::move(other.m_path))
    , m_temporary(std::move(other.m_temporary))
    , m_error(other.m_error) {}

AtomicFileWriter& AtomicFileWriter::operator=(AtomicFileWriter&& other) noexcept {
    if (this != &other) {
        discard();
        m_fd = std::exchange(other.m_fd, -1);
        m_path = std::move(other.m_path);
        m_temporary = std::move(other.m_temporary);
        m_error = other.m_error;
    }
    return *this;
}

AtomicFileWriter::~AtomicFileWriter() {
    discard();
}

void AtomicFileWriter::discard() noexcept {
    if (m_fd >= 0) {
        ::close(m_fd);
        ::unlink(m_temporary.c_str());
        m_fd = -1;
    }
}

Status AtomicFileWriter::write(std::string_view bytes) {
    if (m_fd < 0) {
        return Error{ErrorCode::Io, "cannot write " + m_temporary + ": already closed"};
    }
    while (m_error == 0 && !bytes.empty()) {
        const ssize_t n = ::write(m_fd, bytes.data(), bytes.size());
        if (n < 0) {
            if (errno != EINTR) {
                m_error = errno;
            }
            continue;
        }
        bytes.remove_prefix(static_cast<std::size_t>(n));
    }
    if (m_error != 0) {
        return ioError("cannot write", m_temporary, m_error);
    }
    return {};
}

Status AtomicFileWriter::commit() {
    if (m_fd < 0 || m_error != 0) {
        const int error = m_error != 0 ? m_error : EBADF;
        discard();
        return ioError("cannot write", m_temporary, error);
    }
    const bool synced = ::fsync(m_fd) == 0;
    const int syncError = errno;
    const bool closed = ::close(m_fd) == 0;
    const int closeError = errno;
    m_fd = -1;
    if (!synced || !closed) {
        ::unlink(m_temporary.c_str());
        return ioError("cannot write", m_temporary, synced ? closeError : syncError);
    }
    if (::rename(m_temporary.c_str(), m_path.c_str()) != 0) {
        const int renameError = errno;
        ::unlink(m_temporary.c_str());
        return ioError("cannot replace", m_path, renameError);
    }
    return {};
}

} // namespace velmora
