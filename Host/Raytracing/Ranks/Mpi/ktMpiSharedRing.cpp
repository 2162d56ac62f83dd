// SPDX-License-Identifier: LGPL-2.1-or-later
// Sends bytes to all ranks of one machine through memory that they share.
#include "ktMpiSharedRing.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <memory>

namespace {

constexpr std::uint64_t capacity = 4u << 20;   // bytes; containers often have 64 MB for all shared memory
constexpr std::size_t mostAtOnce = 256u << 10; // so that others read one part while rank 0 writes the next
constexpr std::size_t cacheLine = 64;

} // namespace

struct alignas(cacheLine) ktMpiSharedRing::Counter {
    std::atomic<std::uint64_t> bytes{0};
    static_assert(std::atomic<std::uint64_t>::is_always_lock_free, "processes share it");
};

bool ktMpiSharedRing::open(MPI_Comm machine) {
    int allRanks = 0;
    MPI_Comm_size(MPI_COMM_WORLD, &allRanks);
    MPI_Comm_rank(MPI_COMM_WORLD, &rank);
    if (machine != MPI_COMM_NULL)
        MPI_Comm_size(machine, &rankCount);
    int isUsable = rankCount == allRanks && rankCount > 1;
    // All ranks must give the same answer, or some would wait for others in the next collective call.
    const auto isUsableForAll = [&isUsable] {
        MPI_Allreduce(MPI_IN_PLACE, &isUsable, 1, MPI_INT, MPI_MIN, MPI_COMM_WORLD);
        return isUsable != 0;
    };
    if (!isUsableForAll())
        return false;
    MPI_Comm_set_errhandler(machine, MPI_ERRORS_RETURN);
    const std::size_t countersSize = static_cast<std::size_t>(rankCount) * sizeof(Counter);
    const auto ownSize = static_cast<MPI_Aint>(rank == 0 ? cacheLine + countersSize + capacity : 0);
    void* memory = nullptr;
    MPI_Aint size = 0;
    int unit = 1;
    isUsable = MPI_Win_allocate_shared(ownSize, 1, MPI_INFO_NULL, machine, &memory, &window) == MPI_SUCCESS &&
               MPI_Win_shared_query(window, 0, &size, &unit, &memory) == MPI_SUCCESS && memory &&
               MPI_Win_lock_all(MPI_MODE_NOCHECK, window) == MPI_SUCCESS;
    if (!isUsableForAll())
        return false;
    // MPI promises no alignment. The ranks have the memory at other addresses, and all must skip the same bytes.
    std::uint64_t skipped = (cacheLine - reinterpret_cast<std::uintptr_t>(memory) % cacheLine) % cacheLine;
    MPI_Bcast(&skipped, 1, MPI_UINT64_T, 0, machine);
    memory = static_cast<char*>(memory) + skipped;
    isUsable = reinterpret_cast<std::uintptr_t>(memory) % cacheLine == 0;
    if (isUsable && rank == 0)
        std::uninitialized_default_construct_n(static_cast<Counter*>(memory), rankCount);
    if (!isUsableForAll()) // the counters are there when all ranks have come so far
        return false;
    counters = static_cast<Counter*>(memory);
    content = static_cast<char*>(memory) + countersSize;
    return true;
}

void ktMpiSharedRing::close() {
    if (!isOpen())
        return;
    counters = nullptr;
    MPI_Win_unlock_all(window);
    MPI_Win_free(&window);
}

std::size_t ktMpiSharedRing::write(const char* bytes, std::size_t size) {
    std::atomic<std::uint64_t>& written = counters[0].bytes;
    const std::uint64_t begin = written.load(std::memory_order_relaxed);
    std::uint64_t slowest = begin;
    for (int each = 1; each < rankCount; ++each)
        slowest = std::min(slowest, counters[each].bytes.load(std::memory_order_acquire));
    const std::uint64_t offset = begin % capacity;
    const std::size_t count = std::min({size, mostAtOnce, capacity - (begin - slowest), capacity - offset});
    if (count > 0)
        std::memcpy(content + offset, bytes, count);
    written.store(begin + count, std::memory_order_release);
    return count;
}

std::size_t ktMpiSharedRing::read(char* bytes, std::size_t size) {
    std::atomic<std::uint64_t>& done = counters[rank].bytes;
    const std::uint64_t begin = done.load(std::memory_order_relaxed);
    const std::uint64_t there = counters[0].bytes.load(std::memory_order_acquire) - begin;
    const std::uint64_t offset = begin % capacity;
    const std::size_t count = std::min({size, there, capacity - offset});
    if (count > 0)
        std::memcpy(bytes, content + offset, count);
    done.store(begin + count, std::memory_order_release);
    return count;
}
