#include "core/system/AtomicFile.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace velmora {

namespace {

Error ioError(std::string_view what, const std::string& path, int error) {
    return {ErrorCode::Io, std::string(what) + " " + path + ": " + std::strerror(error)};
}

bool writeAll(int fd, std::span<const std::uint8_t> bytes) {
    while (!bytes.empty()) {
        const ssize_t n = ::write(fd, bytes.data(), bytes.size());
        if (n < 0) {
            if (errno == EINTR) {
                continue;
            }
            return false;
        }
        bytes = bytes.subspan(static_cast<std::size_t>(n));
    }
    return true;
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
    return mode == NewFileMode::OwnerOnly ? mode_t{0600}
                                          : static_cast<mode_t>(0666 & ~currentUmask());
}

} // namespace

Status replaceFileAtomically(const std::string& path, std::span<const std::uint8_t> bytes,
                             NewFileMode newFileMode) {
    struct stat existing {};
    const bool exists = ::stat(path.c_str(), &existing) == 0 && S_ISREG(existing.st_mode);

    std::string temporary = path + ".XXXXXX";
    const int fd = ::mkostemp(temporary.data(), O_CLOEXEC);
    if (fd < 0) {
        return ioError("cannot create a temporary file for", path, errno);
    }
    if (exists) {
        // Best effort: only root may give the file back to another owner.
        [[maybe_unused]] const int ignored = ::fchown(fd, existing.st_uid, existing.st_gid);
    }
    const mode_t mode =
        exists ? static_cast<mode_t>(existing.st_mode & 07777) : modeFor(newFileMode);
    const bool written = ::fchmod(fd, mode) == 0 && writeAll(fd, bytes) && ::fsync(fd) == 0;
    const int writeError = errno;
    const bool closed = ::close(fd) == 0;
    if (!written || !closed) {
        const int error = written ? errno : writeError;
        ::unlink(temporary.c_str());
        return ioError("cannot write", temporary, error);
    }
    if (::rename(temporary.c_str(), path.c_str()) != 0) {
        const int renameError = errno;
        ::unlink(temporary.c_str());
        return ioError("cannot replace", path, renameError);
    }
    return {};
}

} // namespace velmora
