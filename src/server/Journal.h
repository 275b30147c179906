#pragma once

#include <string_view>

namespace velmora::server {

// What the server has to say, on standard error. Under systemd (JOURNAL_STREAM set) each line
// starts with its syslog level in angle brackets, which journald turns into the entry's
// priority; on a terminal it starts with the program's name.
namespace journal {

void error(std::string_view text);
void warning(std::string_view text);
void notice(std::string_view text);
void info(std::string_view text);

} // namespace journal

} // namespace velmora::server
