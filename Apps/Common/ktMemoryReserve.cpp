// SPDX-License-Identifier: LGPL-2.1-or-later
// Operator new of ktbake and of the module kthost: if the system has no memory left, small pieces come from a reserve.
//
// Destructors and error messages need a little memory. Without it, an exception in a destructor would end the program
// in the middle of its work. The first half of the reserve is for any use, so that a bake that is nearly done ends
// well. The second half is for the way out, after a std::bad_alloc was thrown.
#include "ktMemoryReserve.h"

#include "ktMemoryShortage.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <sstream>

// The sanitizers have their own operator new.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

namespace {

constexpr std::size_t reserveSize = std::size_t(16) << 20; // costs nothing before it is used
constexpr std::size_t largestPiece = std::size_t(64) << 10;
constexpr std::size_t alignmentOfAll = alignof(std::max_align_t);

alignas(64) unsigned char reserve[reserveSize];
// The pieces in use, times 2^32, plus the bytes up to the end of the last piece. When no piece is in use any more, the
// next one is at the start again.
std::atomic<std::uint64_t> state{0};
constexpr std::uint64_t onePiece = std::uint64_t(1) << 32;
std::atomic<bool> isUsed{false};
std::atomic<bool> isOnTheWayOut{false};
std::atomic<bool> isCalled{true};

void* takeFromReserve(std::size_t size, std::size_t alignment) {
    if (!isUsed || size > largestPiece || alignment > 64)
        return nullptr;
    const std::size_t step = alignment > alignmentOfAll ? alignment : alignmentOfAll;
    const std::size_t most = isOnTheWayOut ? reserveSize : reserveSize / 2;
    const std::size_t rounded = (size + step - 1) / step * step + (step > alignmentOfAll ? step : 0);
    std::uint64_t now = state;
    do {
        if (now % onePiece + rounded > most)
            return nullptr;
    } while (!state.compare_exchange_weak(now, now + onePiece + rounded));
    return reserve + (now % onePiece + step - 1) / step * step;
}

void giveBackToReserve() {
    std::uint64_t now = state, next = 0;
    do {
        next = now - onePiece;
        if (next < onePiece)
            next = 0;
    } while (!state.compare_exchange_weak(now, next));
    if (next == 0)
        isOnTheWayOut = false;
}

bool isInReserve(const void* memory) {
    const auto address = reinterpret_cast<std::uintptr_t>(memory);
    const auto begin = reinterpret_cast<std::uintptr_t>(&reserve[0]);
    return address >= begin && address < begin + reserveSize;
}

void* allocate(std::size_t size, std::size_t alignment) noexcept {
    if (!isCalled.load(std::memory_order_relaxed))
        isCalled = true;
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
    ktMemoryShortage::report();
    throw std::bad_alloc();
}

void release(void* memory) noexcept {
    if (isInReserve(memory))
        giveBackToReserve();
    else
        std::free(memory);
}

} // namespace

void ktMemoryReserve::use() noexcept {
    isUsed = true;
}

void ktMemoryReserve::useIfPossible() {
    isCalled = false;
    std::ostringstream text; // the standard library allocates what it holds
    text << "longer than what a string holds without memory of the heap";
    isUsed = isCalled.load();
}

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

#else

void ktMemoryReserve::use() noexcept {}
void ktMemoryReserve::useIfPossible() {}

#endif
