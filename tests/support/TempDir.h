#pragma once

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

namespace velmora::test {

// A fresh directory under the system's temporary folder, removed with everything in it.
class TempDir {
public:
    TempDir() {
        std::string pattern = (std::filesystem::temp_directory_path() / "velmora-test-XXXXXX");
        if (::mkdtemp(pattern.data()) != nullptr) {
            m_path = pattern;
        }
    }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;
    ~TempDir() {
        std::error_code ignored;
        std::filesystem::permissions(m_path, std::filesystem::perms::owner_all,
                                     std::filesystem::perm_options::add, ignored);
        std::filesystem::remove_all(m_path, ignored);
    }

    const std::filesystem::path& path() const { return m_path; }
    std::string str() const { return m_path.string(); }
    std::filesystem::path operator/(std::string_view name) const { return m_path / name; }

private:
    std::filesystem::path m_path;
};

inline void writeFile(const std::filesystem::path& path, std::string_view content) {
    std::ofstream(path, std::ios::binary)
        .write(content.data(), static_cast<std::streamsize>(content.size()));
}

inline void writeFile(const std::filesystem::path& path, const std::vector<std::uint8_t>& content) {
    writeFile(path,
              std::string_view(reinterpret_cast<const char*>(content.data()), content.size()));
}

inline std::string readFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

inline std::vector<std::uint8_t> readBytes(const std::filesystem::path& path) {
    const std::string s = readFile(path);
    return {s.begin(), s.end()};
}

} // namespace velmora::test
