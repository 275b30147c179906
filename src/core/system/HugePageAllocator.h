#pragma once

#include <cstddef>
#include <new>
#include <vector>

#include "core/system/PageMemory.h"

namespace velmora {

// An allocator for arrays of hundreds of megabytes, such as the rows of a report over a
// gigabyte of logs. It maps them anonymously and asks for transparent huge pages: the first
// touch of fresh memory is most of the cost of filling such an array, and a 2 MiB page is
// faulted in once instead of 512 times. Pages never touched cost nothing, so a generous
// reserve() is cheap. Arrays under a huge page come from the ordinary heap.
template <typename T>
class HugePageAllocator {
public:
    using value_type = T;

    HugePageAllocator() noexcept = default;
    template <typename U>
    HugePageAllocator(const HugePageAllocator<U>& /*other*/) noexcept {}

    T* allocate(std::size_t n) {
        if (n * sizeof(T) < page_memory::kHugePageBytes) {
            return static_cast<T*>(::operator new(n * sizeof(T)));
        }
        void* p = page_memory::map(n * sizeof(T));
        if (p == nullptr) {
            throw std::bad_alloc();
        }
        return static_cast<T*>(p);
    }

    void deallocate(T* p, std::size_t n) noexcept {
        if (n * sizeof(T) < page_memory::kHugePageBytes) {
            ::operator delete(p);
        } else {
            page_memory::unmap(p, n * sizeof(T));
        }
    }

    template <typename U>
    bool operator==(const HugePageAllocator<U>& /*other*/) const noexcept {
        return true;
    }
};

template <typename T>
using HugePageVector = std::vector<T, HugePageAllocator<T>>;

} // namespace velmora
