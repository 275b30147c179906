#include "core/eventlog/TextArena.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <sys/mman.h>
#include <utility>

namespace velmora {

namespace {

constexpr std::size_t kHugePage = std::size_t{2} << 20;
constexpr std::size_t kAppendBlockBytes = std::size_t{16} << 20;

char* mapBlock(std::size_t bytes) {
    void* p = ::mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (p == MAP_FAILED) {
        return nullptr;
    }
    ::madvise(p, bytes, MADV_HUGEPAGE);
    return static_cast<char*>(p);
}

std::size_t roundUp(std::size_t n, std::size_t to) {
    return (n + to - 1) / to * to;
}

} // namespace

TextArena::TextArena(TextArena&& other) noexcept
    : m_blocks(std::exchange(other.m_blocks, {}))
    , m_appendBlock(std::exchange(other.m_appendBlock, UINT32_MAX)) {}

TextArena& TextArena::operator=(TextArena&& other) noexcept {
    if (this != &other) {
        release();
        m_blocks = std::exchange(other.m_blocks, {});
        m_appendBlock = std::exchange(other.m_appendBlock, UINT32_MAX);
    }
    return *this;
}

TextArena::~TextArena() {
    release();
}

void TextArena::release() noexcept {
    for (const Block& b : m_blocks) {
        if (b.data != nullptr) {
            ::munmap(b.data, b.capacity);
        }
    }
    m_blocks.clear();
    m_appendBlock = UINT32_MAX;
}

char* TextArena::openBlock(std::size_t capacity, std::uint32_t& index) {
    const std::size_t bytes = roundUp(capacity == 0 ? 1 : capacity, kHugePage);
    char* data = mapBlock(bytes);
    if (data == nullptr) {
        return nullptr;
    }
    index = static_cast<std::uint32_t>(m_blocks.size());
    m_blocks.push_back({data, bytes, 0});
    return data;
}

void TextArena::commit(std::uint32_t index, std::size_t used) {
    Block& b = m_blocks[index];
    b.used = used;
    // Give back whole unused huge pages at the end of a block.
    const std::size_t keep = roundUp(used == 0 ? 1 : used, kHugePage);
    if (keep < b.capacity) {
        ::munmap(b.data + keep, b.capacity - keep);
        b.capacity = keep;
    }
}

TextPosition TextArena::append(std::string_view first, std::string_view second) {
    const std::size_t length = first.size() + second.size();
    if (m_appendBlock == UINT32_MAX ||
        m_blocks[m_appendBlock].used + length > m_blocks[m_appendBlock].capacity) {
        std::uint32_t index = 0;
        if (openBlock(std::max(kAppendBlockBytes, length), index) == nullptr) {
            throw std::bad_alloc();
        }
        m_appendBlock = index;
    }
    Block& b = m_blocks[m_appendBlock];
    const TextPosition at{m_appendBlock, static_cast<std::uint32_t>(b.used)};
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
