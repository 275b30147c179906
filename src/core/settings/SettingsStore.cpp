#include "core/settings/SettingsStore.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "core/archive/KeyedArchive.h"
#include "core/system/AtomicFile.h"
#include "core/system/FileHandles.h"

namespace velmora {

namespace {

constexpr std::string_view kSettingsFileName = "Velmora.ini";
constexpr std::string_view kPipeFileName = "Velmora.set";
// A real settings file is a few kilobytes; anything beyond this is not one.
constexpr std::size_t kMaxSettingsBytes = 64 * 1024 * 1024;

Error ioError(std::string_view what, const std::string& path, int error) {
    return {ErrorCode::Io, std::string(what) + " " + path + ": " + std::strerror(error)};
}

bool writeAll(int fd, std::span<const std::uint8_t> bytes, off_t offset) {
    while (!bytes.empty()) {
        const ssize_t n = ::pwrite(fd, bytes.data(), bytes.size(), offset);
        if (n < 0) {
            if (errno == EINTR) {
                continue;
            }
            return false;
        }
        bytes = bytes.subspan(static_cast<std::size_t>(n));
        offset += n;
    }
    return true;
}

} // namespace

std::string resolveDataDirectory(std::string_view commandLine, const char* environment) {
    if (!commandLine.empty()) {
        return std::string(commandLine);
    }
    if (environment != nullptr && *environment != '\0') {
        return environment;
    }
    return std::string(kDefaultDataDirectory);
}

SettingsStore::SettingsStore(std::string dataDirectory)
    : m_dataDirectory(std::move(dataDirectory)) {}

std::string SettingsStore::settingsPath() const {
    return m_dataDirectory + "/" + std::string(kSettingsFileName);
}

std::string SettingsStore::pipePath() const {
    return m_dataDirectory + "/" + std::string(kPipeFileName);
}

std::optional<Bytes> SettingsStore::readSettings() const {
    // O_NONBLOCK: a FIFO in the file's place must not hang the caller.
    FileDescriptor fd(::open(settingsPath().c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!fd.valid()) {
        return std::nullopt;
    }
    Bytes bytes;
    std::uint8_t block[64 * 1024];
    for (;;) {
        const ssize_t n = ::read(fd.get(), block, sizeof block);
        if (n == 0) {
            return bytes;
        }
        if (n < 0) {
            if (errno == EINTR) {
                continue;
            }
            return std::nullopt;
        }
        bytes.insert(bytes.end(), block, block + n);
        if (bytes.size() > kMaxSettingsBytes) {
            return std::nullopt;
        }
    }
}

Status SettingsStore::saveSettings(std::span<const std::uint8_t> bytes) const {
    Status written = replaceFileAtomically(settingsPath(), bytes, NewFileMode::OwnerAndGroup);
    // The reload command goes out even when the settings write failed.
    [[maybe_unused]] const Status piped = setPipe(reloadCommand());
    return written;
}

Status SettingsStore::setPipe(std::span<const std::uint8_t> bytes) const {
    const std::string path = pipePath();
    // No O_CREAT: the server owns the pipe file. No O_TRUNC: see the header. O_NONBLOCK: a
    // FIFO without a reader in the file's place fails at once instead of hanging the window.
    FileDescriptor fd(::open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NONBLOCK));
    if (!fd.valid()) {
        return ioError("cannot open the pipe", path, errno);
    }
    if (!writeAll(fd.get(), bytes, 0)) {
        return ioError("cannot write the pipe", path, errno);
    }
    if (!fd.close()) {
        return ioError("cannot write the pipe", path, errno);
    }
    return {};
}

Result<Dictionary> SettingsStore::loadDictionary() const {
    const std::optional<Bytes> bytes = readSettings();
    if (!bytes) {
        return Error{ErrorCode::NotFound, "no settings file at " + settingsPath()};
    }
    Result<Dictionary> decoded = keyed_archive::decodeDictionary(*bytes);
    if (!decoded) {
        return Error{decoded.error().code, "the settings file " + settingsPath() +
                                               " does not decode: " + decoded.error().message};
    }
    return decoded;
}

std::optional<Dictionary> SettingsStore::readDictionary() const {
    Result<Dictionary> loaded = loadDictionary();
    if (!loaded) {
        return std::nullopt;
    }
    return std::move(loaded).value();
}

Status SettingsStore::saveDictionary(const Dictionary& settings) const {
    return saveSettings(keyed_archive::encode(Value(settings)));
}

Bytes reloadCommand() {
    return keyed_archive::encode(Value(Dictionary{{"Settings", "read"}}));
}

} // namespace velmora
