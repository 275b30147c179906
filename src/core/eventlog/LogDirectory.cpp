#include "core/eventlog/LogDirectory.h"

#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <memory>

#include "core/system/FileHandles.h"

namespace velmora {

namespace {

constexpr std::string_view kLogExtension = "log";

Error directoryError(const std::string& directory, int error) {
    return {error == ENOENT ? ErrorCode::NotFound : ErrorCode::Io,
            directory + ": " + std::strerror(error)};
}

std::string_view lastComponent(std::string_view path) noexcept {
    const std::size_t slash = path.rfind('/');
    return slash == std::string_view::npos ? path : path.substr(slash + 1);
}

// The position of the dot that starts the extension of the last component, or npos.
std::size_t extensionDot(std::string_view path) noexcept {
    const std::string_view name = lastComponent(path);
    const std::size_t dot = name.rfind('.');
    if (dot == std::string_view::npos || dot == 0) {
        return std::string_view::npos;
    }
    return path.size() - name.size() + dot;
}

} // namespace

std::string_view pathExtension(std::string_view name) noexcept {
    const std::size_t dot = extensionDot(name);
    return dot == std::string_view::npos ? std::string_view() : name.substr(dot + 1);
}

std::string_view withoutPathExtension(std::string_view name) noexcept {
    return name.substr(0, extensionDot(name));
}

Result<std::vector<std::string>> listLogFiles(const std::string& directory) {
    const DirectoryHandle handle(::opendir(directory.c_str()));
    if (!handle) {
        return directoryError(directory, errno);
    }
    std::vector<std::string> names;
    int error = 0;
    for (;;) {
        errno = 0;
        const dirent* entry = ::readdir(handle.get());
        if (entry == nullptr) {
            error = errno; // 0 at the end of the listing
            break;
        }
        const std::string_view name(entry->d_name);
        if (pathExtension(name) == kLogExtension) {
            names.emplace_back(name);
        }
    }
    if (error != 0) {
        return directoryError(directory, error);
    }
    return names;
}

} // namespace velmora
