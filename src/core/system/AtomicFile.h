#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "core/Result.h"

namespace velmora {

// Who may read a file that does not exist yet. An existing file always keeps its mode.
enum class NewFileMode {
    // 0640 in the group of the file's directory: the settings file, which carries the mail
    // password. The data directory's group is the server's and the console users'.
    OwnerAndGroup,
    UserDefault // 0666 less the process's umask, as any new file of the user
};

// Writes the whole content into a temporary file beside the target and renames it over the
// target, so that a reader sees either the old file or the new one, never a half-written one,
// and a failed write leaves the old file as it was. An existing file keeps its mode and, where
// the process may, its owner and group.
Status replaceFileAtomically(const std::string& path, std::span<const std::uint8_t> bytes,
                             NewFileMode newFileMode);

} // namespace velmora
