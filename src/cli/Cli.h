#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace velmora::cli {

// Exit statuses of velmoractl.
inline constexpr int kExitOk = 0;
inline constexpr int kExitFailure = 1; // the work could not be done (no settings file, I/O)
inline constexpr int kExitUsage = 2;   // bad command line or bad input; nothing was written

struct Environment {
    std::istream& in;
    std::ostream& out;
    std::ostream& err;
    const char* dataDirectoryVariable = nullptr; // the value of VELMORA_DATA_DIR, if set
};

// Runs one velmoractl command line (without the program name) and returns its exit status.
int run(const std::vector<std::string>& arguments, const Environment& environment);

} // namespace velmora::cli
