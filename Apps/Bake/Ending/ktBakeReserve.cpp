// SPDX-License-Identifier: LGPL-2.1-or-later
// Operator new of ktbake: if the system has no memory left, small pieces come from a reserve.
//
// Destructors and error messages need a little memory. Without it, an exception in a destructor would end the program
// in the middle of its work. The first half of the reserve is for any use, so that a bake that is nearly done ends
// well. The second half is for the way out, after a std::bad_alloc was thrown.
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>

// The sanitizers have their own operator new.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

namespace {

constexpr std::size_t reserveSize = std::size_t(16) << 20; // costs nothing before it is used
constexpr std::size_t largestPiece = std::size_t(64) << 10;
constexpr std::size_t alignmentOfAll = alignof(std::max_align_t);

alignas(64) unsigned char reserve[reserveSize];
std::atomic<std::size_t> used{0};
std::atomic<bool> isOnTheWayOut{false};

/// Pieces of the reserve are never used twice.
void* takeFromReserve(std::size_t size, std::size_t alignment) {
    if (size > largestPiece || alignment > 64)
        return nullptr;
    const std::size_t step = alignment > alignmentOfAll ? alignment : alignmentOfAll;
    const std::size_t most = isOnTheWayOut ? reserveSize : reserveSize / 2;
    const std::size_t rounded = (size + step - 1) / step * step + (step > alignmentOfAll ? step : 0);
    std::size_t first = used;
    do {
        if (first + rounded > most)
            return nullptr;
    } while (!used.compare_exchange_weak(first, first + rounded));
    return reserve + (first + step - 1) / step * step;
}

bool isInReserve(const void* memory) {
    const auto address = reinterpret_cast<std::uintptr_t>(memory);
    const auto begin = reinterpret_cast<std::uintptr_t>(&reserve[0]);
    return address >= begin && address < begin + reserveSize;
}

void* allocate(std::size_t size, std::size_t alignment) noexcept {
    if (size == 0)
        size = 1;
    void* const memory = alignment <= alignmentOfAll
                             ? std::malloc(size)
                             : std::aligned_alloc(alignment, (size + alignment - 1) / alignment * alignment);
    return memory ? memory : takeFromReserve(size, alignment);
}

void* allocateOrThrow(std::size_t size, std::size_t alignment) {
    if (void* const memory = allocate(size, alignment))
        return memory;
    isOnTheWayOut = true;
    throw std::bad_alloc();
}

void release(void* memory) noexcept {
    if (!isInReserve(memory))
        std::free(memory);
}

} // namespace

void* operator new(std::size_t size) {
    return allocateOrThrow(size, alignmentOfAll);
}
void* operator new[](std::size_t size) {
    return allocateOrThrow(size, alignmentOfAll);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return allocate(size, alignmentOfAll);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return allocate(size, alignmentOfAll);
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    return allocateOrThrow(size, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
    return allocateOrThrow(size, static_cast<std::size_t>(alignment));
}
void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return allocate(size, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return allocate(size, static_cast<std::size_t>(alignment));
}
void operator delete(void* memory) noexcept {
    release(memory);
}
void operator delete[](void* memory) noexcept {
    release(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    release(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
    release(memory);
}
void operator delete(void* memory, const std::nothrow_t&) noexcept {
    release(memory);
}
void operator delete[](void* memory, const std::nothrow_t&) noexcept {
    release(memory);
}
void operator delete(void* memory, std::align_val_t) noexcept {
    release(memory);
}
void operator delete[](void* memory, std::align_val_t) noexcept {
    release(memory);
}
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
    release(memory);
}
void operator delete[](void* memory, std::size_t, std::align_val_t) noexcept {
    release(memory);
}
void operator delete(void* memory, std::align_val_t, const std::nothrow_t&) noexcept {
    release(memory);
}
void operator delete[](void* memory, std::align_val_t, const std::nothrow_t&) noexcept {
    release(memory);
}

#endif
