#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

namespace velmora::test {

// One piece of a log file as the plain C reading sees it, with the four fields when it has them.
struct PieceRecord {
    std::uint64_t offset = 0;
    std::uint64_t size = 0;
    bool hasFields = false;
    std::string date;
    std::string priority;
    std::string host;
    std::string message;

    bool operator==(const PieceRecord&) const = default;
};

// The plain reading of a log file that the fast reader must equal: fgets into a 1,024-byte
// buffer, then strtok. The piece's offset and size come from ftell, since fgets does not say
// how many bytes it read when they hold a NUL.
inline std::vector<PieceRecord> readWithFgets(FILE* file) {
    std::vector<PieceRecord> records;
    char buffer[1024];
    for (;;) {
        const long before = std::ftell(file);
        if (std::fgets(buffer, sizeof buffer, file) == nullptr) {
            break;
        }
        PieceRecord record;
        record.offset = static_cast<std::uint64_t>(before);
        record.size = static_cast<std::uint64_t>(std::ftell(file) - before);
        const char* date = std::strtok(buffer, ",\r\n");
        const char* priority = std::strtok(nullptr, ",\r\n");
        const char* host = std::strtok(nullptr, ",\r\n");
        const char* message = std::strtok(nullptr, "\r\n");
        if (date != nullptr && priority != nullptr && host != nullptr && message != nullptr) {
            record.hasFields = true;
            record.date = date;
            record.priority = priority;
            record.host = host;
            record.message = message;
        }
        records.push_back(std::move(record));
    }
    return records;
}

inline std::vector<PieceRecord> readWithFgets(std::string_view bytes) {
    if (bytes.empty()) {
        return {};
    }
    FILE* file = ::fmemopen(const_cast<char*>(bytes.data()), bytes.size(), "r");
    if (file == nullptr) {
        std::abort(); // no reference, no comparison: never pass silently
    }
    std::vector<PieceRecord> records = readWithFgets(file);
    std::fclose(file);
    return records;
}

} // namespace velmora::test
