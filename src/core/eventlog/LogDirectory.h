#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "core/Result.h"

namespace velmora {

// The extension of a file name: what follows its last dot, when that dot is not the name's
// first character. So "a.b.log" has the extension "log", while ".log" (a hidden file with no
// extension) and "log" have none, and "x.log." has an empty one. Only the last component of a
// path counts: "dir.log/x" has none.
std::string_view pathExtension(std::string_view name) noexcept;

// The name without its extension and the dot before it ("a.b.log" gives "a.b"); a name without
// an extension comes back whole.
std::string_view withoutPathExtension(std::string_view name) noexcept;

// The names of the entries of a directory whose extension is exactly "log" (case-sensitive:
// "x.LOG" and "x.log.1" are not log files), in the order the directory lists them: nothing
// sorts them. Entries are not opened here, so a directory named "x.log" is listed too and its
// reader fails. A directory that is missing (NotFound) or cannot be read (Io) is an error
// value; the callers treat it as an empty one.
Result<std::vector<std::string>> listLogFiles(const std::string& directory);

} // namespace velmora
