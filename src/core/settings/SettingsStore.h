#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/Result.h"
#include "core/archive/Value.h"

namespace velmora {

using Bytes = std::vector<std::uint8_t>;

// The FHS place of a service's state, for the server, the console and velmoractl alike.
inline constexpr std::string_view kDefaultDataDirectory = "/var/lib/velmora";
inline constexpr std::string_view kDataDirectoryVariable = "VELMORA_DATA_DIR";

// The data directory: the one given on the command line, else the environment's, else the
// server's default. Either argument may be empty or null.
std::string resolveDataDirectory(std::string_view commandLine, const char* environment);

// The settings file "Velmora.ini" and the command pipe "Velmora.set" of one data directory.
// The console and the server share the settings file; the pipe is how the console asks the
// server to re-read it. The console creates neither the directory nor the pipe file.
class SettingsStore {
public:
    explicit SettingsStore(std::string dataDirectory);

    const std::string& dataDirectory() const { return m_dataDirectory; }
    std::string settingsPath() const;
    std::string pipePath() const;

    // The settings file's bytes, or nothing when it cannot be opened or read. Not decoded.
    std::optional<Bytes> readSettings() const;

    // Replaces the settings file with the bytes, then writes the reload command into the pipe,
    // whether or not the settings write succeeded. Returns the settings write's outcome, which
    // the pages ignore.
    Status saveSettings(std::span<const std::uint8_t> bytes) const;

    // Writes the bytes at offset 0 of the pipe file without truncating it: a command shorter
    // than the previous one leaves the old tail behind, and the server reads one archive from
    // the start of the file and ignores the rest. Does nothing when the pipe file is missing.
    Status setPipe(std::span<const std::uint8_t> bytes) const;

    // The decoded settings dictionary. ErrorCode::NotFound when there is no readable file,
    // ErrorCode::Corrupt (or Unsupported) when the bytes do not decode as a dictionary.
    Result<Dictionary> loadDictionary() const;
    // What every page reads: the dictionary, or nothing when the file is missing or does not
    // decode. An undecodable file is left as it is until a page saves.
    std::optional<Dictionary> readDictionary() const;
    // Archives the whole dictionary and saves it as saveSettings() does.
    Status saveDictionary(const Dictionary& settings) const;

private:
    std::string m_dataDirectory;
};

// The command records written into the pipe.
Bytes reloadCommand();

} // namespace velmora
