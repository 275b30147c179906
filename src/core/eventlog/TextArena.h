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

// Append-only storage for the texts of the event list. Loaded log files are read straight into
// big blocks and events point into them, so a loaded line costs no allocation of its own; small
// texts (live events, leniently decoded lines) are appended to a shared block. Blocks are
// anonymous mappings that ask for huge pages: touching fresh memory page by page is a large
// part of the cost of reading a gigabyte of logs.
class TextArena {
public:
    // The largest block; a bigger file is read in several blocks.
    static constexpr std::size_t kMaxBlockBytes = std::size_t{1} << 30;

    TextArena() = default;
    TextArena(const TextArena&) = delete;
    TextArena& operator=(const TextArena&) = delete;
    TextArena(TextArena&& other) noexcept;
    TextArena& operator=(TextArena&& other) noexcept;
    ~TextArena();

    // A new block of at least `capacity` bytes for the caller to fill; nullptr when memory is
    // exhausted. Its used size starts at 0: call commit() with what was filled.
    char* openBlock(std::size_t capacity, std::uint32_t& index);
    void commit(std::uint32_t index, std::size_t used);

    // Copies the texts one after the other into the shared block for small texts and returns
    // the position of the first. Each text must be under kMaxBlockBytes.
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
    std::vector<Block> m_blocks;
    std::uint32_t m_appendBlock = UINT32_MAX;

    void release() noexcept;
};

} // namespace velmora
