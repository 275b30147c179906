#pragma once

#include <cstddef>
#include <new>
#include <sys/mman.h>
#include <vector>

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
        if (n * sizeof(T) < kHugePage) {
            return static_cast<T*>(::operator new(n * sizeof(T)));
        }
        const std::size_t bytes = roundUp(n * sizeof(T));
        void* p =
            ::mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (p == MAP_FAILED) {
            throw std::bad_alloc();
        }
        ::madvise(p, bytes, MADV_HUGEPAGE);
        return static_cast<T*>(p);
    }

    void deallocate(T* p, std::size_t n) noexcept {
        if (n * sizeof(T) < kHugePage) {
            ::operator delete(p);
        } else {
            ::munmap(p, roundUp(n * sizeof(T)));
        }
    }

    template <typename U>
    bool operator==(const HugePageAllocator<U>& /*other*/) const noexcept {
        return true;
    }

private:
    static constexpr std::size_t kHugePage = std::size_t{2} << 20;
    static std::size_t roundUp(std::size_t bytes) {
        return (bytes + kHugePage - 1) / kHugePage * kHugePage;
    }
};

template <typename T>
using HugePageVector = std::vector<T, HugePageAllocator<T>>;

} // namespace velmora
