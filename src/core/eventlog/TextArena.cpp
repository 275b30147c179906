#include "core/eventlog/TextArena.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

#include "core/system/PageMemory.h"

namespace velmora {

namespace {

// Large enough that a gigabyte of logs takes few blocks, small enough that a short list does
// not hold much address space.
constexpr std::size_t kBlockBytes = std::size_t{16} << 20;

} // namespace

TextArena::TextArena(TextArena&& other) noexcept
    : m_blocks(std::exchange(other.m_blocks, {})) {}

TextArena& TextArena::operator=(TextArena&& other) noexcept {
    if (this != &other) {
        release();
        m_blocks = std::exchange(other.m_blocks, {});
    }
    return *this;
}

TextArena::~TextArena() {
    release();
}

void TextArena::release() noexcept {
    for (const Block& b : m_blocks) {
        page_memory::unmap(b.data, b.capacity);
    }
    m_blocks.clear();
}

void TextArena::openBlock(std::size_t atLeast) {
    const std::size_t capacity = page_memory::roundUp(std::max(kBlockBytes, atLeast));
    void* data = page_memory::map(capacity);
    if (data == nullptr) {
        throw std::bad_alloc();
    }
    m_blocks.push_back({static_cast<char*>(data), capacity, 0});
}

TextPosition TextArena::append(std::string_view first, std::string_view second) {
    const std::size_t length = first.size() + second.size();
    if (m_blocks.empty() || m_blocks.back().used + length > m_blocks.back().capacity) {
        openBlock(length);
    }
    Block& b = m_blocks.back();
    const TextPosition at{static_cast<std::uint32_t>(m_blocks.size() - 1),
                          static_cast<std::uint32_t>(b.used)};
    // memcpy wants valid pointers even for no bytes, and an empty view may hold none.
    if (!first.empty()) {
        std::memcpy(b.data + b.used, first.data(), first.size());
    }
    if (!second.empty()) {
        std::memcpy(b.data + b.used + first.size(), second.data(), second.size());
    }
    b.used += length;
    return at;
}

std::size_t TextArena::reservedBytes() const {
    std::size_t total = 0;
    for (const Block& b : m_blocks) {
        total += b.capacity;
    }
    return total;
}

} // namespace velmora
