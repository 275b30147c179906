#include "core/system/PageMemory.h"

#include <sys/mman.h>

namespace velmora::page_memory {

std::size_t roundUp(std::size_t bytes) {
    const std::size_t pages = (bytes == 0 ? 1 : bytes + kHugePageBytes - 1) / kHugePageBytes;
    return pages * kHugePageBytes;
}

void* map(std::size_t bytes) {
    const std::size_t size = roundUp(bytes);
    void* region =
        ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (region == MAP_FAILED) {
        return nullptr;
    }
    ::madvise(region, size, MADV_HUGEPAGE);
    return region;
}

void* grow(void* region, std::size_t oldBytes, std::size_t newBytes) {
    const std::size_t size = roundUp(newBytes);
    void* moved = ::mremap(region, roundUp(oldBytes), size, MREMAP_MAYMOVE);
    if (moved == MAP_FAILED) {
        return nullptr;
    }
    ::madvise(moved, size, MADV_HUGEPAGE);
    return moved;
}

void unmap(void* region, std::size_t bytes) noexcept {
    if (region != nullptr) {
        ::munmap(region, roundUp(bytes));
    }
}

} // namespace velmora::page_memory
