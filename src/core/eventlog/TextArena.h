#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace velmora {

// Where a text lives in a TextArena: a block and a byte offset in it.
struct TextPosition {
    std::uint32_t block = 0;
    std::uint32_t offset = 0;
};

// Append-only storage for the texts of the event list: texts are copied one after the other
// into big blocks of page memory, so a text costs no allocation of its own and nothing but its
// bytes. A block is never moved or freed while the arena lives, so a view stays valid.
class TextArena {
public:
    TextArena() = default;
    TextArena(const TextArena&) = delete;
    TextArena& operator=(const TextArena&) = delete;
    TextArena(TextArena&& other) noexcept;
    TextArena& operator=(TextArena&& other) noexcept;
    ~TextArena();

    // Copies the texts one after the other and returns the position of the first. Together
    // they must be under 4 GiB. Exhausted memory throws std::bad_alloc.
    TextPosition append(std::string_view first, std::string_view second = {});

    std::string_view view(TextPosition at, std::size_t length) const {
        return {m_blocks[at.block].data + at.offset, length};
    }

    // Bytes held, for the memory figures.
    std::size_t reservedBytes() const;

private:
    struct Block {
        char* data = nullptr;
        std::size_t capacity = 0;
        std::size_t used = 0;
    };
    std::vector<Block> m_blocks; // texts go into the last one

    void release() noexcept;
    void openBlock(std::size_t atLeast);
};

} // namespace velmora
