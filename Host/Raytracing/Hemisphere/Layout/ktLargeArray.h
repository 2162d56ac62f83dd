// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstddef>
#include <cstdlib>
#include <new>
#include <sys/mman.h>
#include <utility>
#include <vector>

/// Allocates large arrays that are read at random: on large pages, so that translating addresses does not cost more
/// than the data. resize() without a value leaves new elements uninitialized, as in `T x;`. So the threads that fill an
/// array are the first to touch its pages.
template <class T>
struct ktLargePageAllocator {
    using value_type = T;
    ktLargePageAllocator() = default;
    template <class U>
    ktLargePageAllocator(const ktLargePageAllocator<U>&) {}

    T* allocate(std::size_t count) {
        constexpr std::size_t page = std::size_t(2) << 20;
        const std::size_t bytes = count * sizeof(T);
        const std::size_t alignment = bytes >= page ? page : 64;
        void* memory = std::aligned_alloc(alignment, (bytes + alignment - 1) / alignment * alignment);
        if (!memory)
            throw std::bad_alloc();
        if (bytes >= page)
            madvise(memory, bytes, MADV_HUGEPAGE); // only a hint: if it fails, ordinary pages do
        return static_cast<T*>(memory);
    }
    void deallocate(T* memory, std::size_t) { std::free(memory); }
    template <class U>
    void construct(U* address) {
        ::new (static_cast<void*>(address)) U;
    }
    template <class U, class... Arguments>
    void construct(U* address, Arguments&&... arguments) {
        ::new (static_cast<void*>(address)) U(std::forward<Arguments>(arguments)...);
    }
    template <class U>
    bool operator==(const ktLargePageAllocator<U>&) const {
        return true;
    }
    template <class U>
    bool operator!=(const ktLargePageAllocator<U>&) const {
        return false;
    }
};

template <class T>
using ktLargeArray = std::vector<T, ktLargePageAllocator<T>>;
