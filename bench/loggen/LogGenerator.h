#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "core/Result.h"

namespace velmora::bench {

struct LogGeneratorOptions {
    std::uint64_t totalBytes = std::uint64_t{64} << 20;
    std::size_t files = 1;
    std::uint64_t seed = 1;
    std::int64_t startSeconds = 1700000000;
    std::int64_t spanSeconds = 30 * 86400;
};

// Writes log files as the server does, for benchmarks and tests: lines
// "SECONDS,Facility.Severity,HOST,MESSAGE\n" of about 150 bytes, from about 40 hosts, with the
// server's priority names in a realistic mix (mostly Informational, Notice and Debug; rarely
// Critical, Alert or Emergency) and messages of 30 to 300 bytes holding commas and some
// non-ASCII UTF-8. File i of n covers the i-th n-th of the time span, its dates rising through
// it; now and then a second's later lines carry milliseconds ("1700000000.25"), still rising.
//
// The output is a function of the options alone: the same options give the same bytes. Each
// file is generated on its own (its own random stream), so any one can be made without the
// others. A file holds whole lines up to its share of the total size: the last line is cut
// short to fill the share, or left out when the room is less than a short line.
class LogGenerator {
public:
    explicit LogGenerator(LogGeneratorOptions options);

    const LogGeneratorOptions& options() const { return m_options; }
    // "events-000.log", "events-001.log", ...
    std::string fileName(std::size_t index) const;
    std::uint64_t fileBytes(std::size_t index) const;

    // Produces file index in chunks of a few MiB, in order; the sink returns false to stop.
    void generateFile(std::size_t index, const std::function<bool(std::string_view)>& sink) const;
    std::string generateFile(std::size_t index) const;

    // Writes every file into an existing directory, replacing files of the same names.
    Status writeFiles(const std::string& directory) const;

private:
    LogGeneratorOptions m_options;
};

// Parses a size such as "1073741824", "200M" or "1G" (K, M, G, T: powers of 1024).
Result<std::uint64_t> parseByteSize(std::string_view text);
// Parses a duration such as "3600", "90m", "12h" or "30d" (s, m, h, d) into seconds.
Result<std::int64_t> parseDuration(std::string_view text);

} // namespace velmora::bench
