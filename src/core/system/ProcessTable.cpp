#include "core/system/ProcessTable.h"

#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <unistd.h>

#include "core/system/FileHandles.h"

namespace velmora {

namespace {

bool isProcessEntry(const char* name) {
    if (*name == '\0') {
        return false;
    }
    for (; *name != '\0'; ++name) {
        if (*name < '0' || *name > '9') {
            return false;
        }
    }
    return true;
}

// The kernel writes the name followed by one line feed. A process that ended since the listing
// has no comm any more and simply does not match.
bool commEquals(int procFd, const char* pid, std::string_view name) {
    std::array<char, NAME_MAX + sizeof("/comm")> path{};
    std::snprintf(path.data(), path.size(), "%s/comm", pid);
    const FileDescriptor comm(::openat(procFd, path.data(), O_RDONLY | O_CLOEXEC));
    if (comm.get() < 0) {
        return false;
    }
    // Far more than the kernel's 15 bytes: a file that fills the buffer is not a name that
    // could be compared whole, and matches nothing.
    std::array<char, 64> buffer{};
    ssize_t length = 0;
    do {
        length = ::read(comm.get(), buffer.data(), buffer.size());
    } while (length < 0 && errno == EINTR);
    if (length <= 0 || static_cast<std::size_t>(length) == buffer.size()) {
        return false;
    }
    std::string_view text(buffer.data(), static_cast<std::size_t>(length));
    if (text.ends_with('\n')) {
        text.remove_suffix(1);
    }
    return text == name;
}

} // namespace

bool isProcessRunning(std::string_view name, const std::string& procRoot) {
    const DirectoryHandle proc(::opendir(procRoot.c_str()));
    if (!proc) {
        return false;
    }
    const int procFd = ::dirfd(proc.get());
    while (const dirent* entry = ::readdir(proc.get())) {
        if (isProcessEntry(entry->d_name) && commEquals(procFd, entry->d_name, name)) {
            return true;
        }
    }
    return false;
}

} // namespace velmora
