#pragma once

#include <cstddef>

namespace velmora::page_memory {

// Big, zero-filled memory straight from the kernel for the event list's arrays and texts. The
// first touch of a fresh page is expensive on virtual machines (microseconds per 4 KiB page),
// so the regions ask for transparent huge pages: one fault maps 2 MiB. Untouched parts of a
// region cost address space only, so regions are reserved generously and grown by remapping,
// which moves page tables instead of copying bytes.
inline constexpr std::size_t kHugePageBytes = std::size_t{2} << 20;

// A region of at least `bytes` (rounded up to whole huge pages), or nullptr when the address
// space or memory is exhausted.
void* map(std::size_t bytes);
// The region grown to at least `newBytes`, perhaps at another address, its content kept; nullptr
// (the old region left as it was) when it cannot grow.
void* grow(void* region, std::size_t oldBytes, std::size_t newBytes);
void unmap(void* region, std::size_t bytes) noexcept;

// The size a region of `bytes` really has.
std::size_t roundUp(std::size_t bytes);

} // namespace velmora::page_memory
