#pragma once

#include <algorithm>
#include <cstddef>
#include <new>
#include <type_traits>
#include <utility>

#include "core/system/PageMemory.h"

namespace velmora {

// A growable array of plain values in page memory: appending never copies the elements already
// there (growth remaps the pages) and a new element costs no allocation of its own. For the
// millions of records and row numbers of the event list. Exhausted memory throws
// std::bad_alloc, as a standard container does.
template <typename T>
requires std::is_trivially_copyable_v<T>
class HugeArray {
public:
    HugeArray() = default;
    HugeArray(const HugeArray&) = delete;
    HugeArray& operator=(const HugeArray&) = delete;
    HugeArray(HugeArray&& other) noexcept
        : m_data(std::exchange(other.m_data, nullptr))
        , m_size(std::exchange(other.m_size, 0))
        , m_capacity(std::exchange(other.m_capacity, 0)) {}
    HugeArray& operator=(HugeArray&& other) noexcept {
        if (this != &other) {
            page_memory::unmap(m_data, m_capacity * sizeof(T));
            m_data = std::exchange(other.m_data, nullptr);
            m_size = std::exchange(other.m_size, 0);
            m_capacity = std::exchange(other.m_capacity, 0);
        }
        return *this;
    }
    ~HugeArray() { page_memory::unmap(m_data, m_capacity * sizeof(T)); }

    std::size_t size() const { return m_size; }
    bool empty() const { return m_size == 0; }
    // Bytes of the elements in use.
    std::size_t usedBytes() const { return m_size * sizeof(T); }

    T& operator[](std::size_t i) { return m_data[i]; }
    const T& operator[](std::size_t i) const { return m_data[i]; }
    T* begin() { return m_data; }
    T* end() { return m_data + m_size; }
    const T* begin() const { return m_data; }
    const T* end() const { return m_data + m_size; }

    void push_back(const T& value) {
        if (m_size == m_capacity) {
            reserve(std::max(m_capacity * 2, page_memory::kHugePageBytes / sizeof(T)));
        }
        m_data[m_size++] = value;
    }

    void reserve(std::size_t capacity) {
        if (capacity <= m_capacity) {
            return;
        }
        void* region = m_data == nullptr ? page_memory::map(capacity * sizeof(T))
                                         : page_memory::grow(m_data, m_capacity * sizeof(T),
                                                             capacity * sizeof(T));
        if (region == nullptr) {
            throw std::bad_alloc();
        }
        m_data = static_cast<T*>(region);
        m_capacity = page_memory::roundUp(capacity * sizeof(T)) / sizeof(T);
    }

    // Drops the elements from `size` on.
    void truncate(std::size_t size) { m_size = std::min(size, m_size); }

private:
    T* m_data = nullptr;
    std::size_t m_size = 0;
    std::size_t m_capacity = 0;
};

} // namespace velmora
