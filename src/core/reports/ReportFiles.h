#pragma once

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

namespace velmora {

// The log files a report was read from, kept open for the report's life so that its lines can
// be read again when they are shown: a file the server appends to keeps its earlier bytes, and
// a file replaced or removed meanwhile is still read as it was, through the open descriptor.
//
// Lines are read through a window of the file, so that the rows of a group, near one another
// in the file, are read with few system calls.
//
// Each file is stamped once read, so that a report can tell whether the file at its path has
// changed since: its identity, size and modification time, and its last line.
class ReportFiles {
public:
    ReportFiles() = default;
    ReportFiles(const ReportFiles&) = delete;
    ReportFiles& operator=(const ReportFiles&) = delete;
    ReportFiles(ReportFiles&& other) noexcept;
    ReportFiles& operator=(ReportFiles&& other) noexcept;
    ~ReportFiles();

    // Opens a regular file for reading; nullopt when that fails.
    std::optional<std::uint32_t> open(const std::string& path);
    // Closes the file opened last, when nothing of it is kept.
    void closeLast();

    std::size_t size() const { return m_files.size(); }
    int descriptor(std::uint32_t file) const { return m_files[file].fd; }
    const std::string& path(std::uint32_t file) const { return m_files[file].path; }

    // Notes the file as the report has read it, with where its last line lies.
    void stamp(std::uint32_t file, std::uint64_t lastOffset, std::size_t lastLength);
    // Whether the file at the path differs from its stamp: another file or none, a shorter
    // one, or one written over where its last line lay. A file only appended to is the same.
    bool changed(std::uint32_t file);

    // The `length` bytes at `offset` as the file holds them now; nullopt when they cannot all
    // be read. The view is valid until the next call.
    std::optional<std::string_view> read(std::uint32_t file, std::uint64_t offset,
                                         std::size_t length);

private:
    struct Stamp {
        dev_t device = 0;
        ino_t inode = 0;
        off_t size = 0;
        timespec modified{};
        std::uint64_t lastOffset = 0;
        std::size_t lastLength = 0;
        std::size_t lastHash = 0;
    };
    struct File {
        int fd;
        std::string path;
        Stamp stamp;
    };
    static constexpr std::size_t kWindowBytes = std::size_t{64} << 10;

    std::vector<File> m_files;
    std::vector<char> m_window;
    std::uint32_t m_windowFile = UINT32_MAX;
    std::uint64_t m_windowOffset = 0;
    std::size_t m_windowBytes = 0;

    void closeAll() noexcept;
};

} // namespace velmora
