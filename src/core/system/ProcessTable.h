#pragma once

#include <string>
#include <string_view>

namespace velmora {

inline constexpr const char* kProcRoot = "/proc";

// Whether a process runs whose short command name is exactly `name` (case-sensitive, whole
// name). The short name is the kernel's `comm` of each process under `procRoot`: at most 15
// bytes, so a longer name never matches. Only processes are looked at, not their threads.
// A process table that cannot be read counts as no process running; nothing is thrown.
bool isProcessRunning(std::string_view name, const std::string& procRoot = kProcRoot);

} // namespace velmora
