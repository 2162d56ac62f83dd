// SPDX-License-Identifier: LGPL-2.1-or-later
// Counts the cores that the process may use, and keeps the requested number of threads.
#include "ktTBBInit.h"

#include "ktThreadCount.h"

#include <algorithm>
#include <atomic>
#include <memory>
#include <sched.h>
#include <thread>
#include <unistd.h>

namespace {

std::atomic<unsigned int> requestedThreads{0}; // 0: as many as cores
std::atomic<bool> hasLowPriority{false};

// Number of cores in the affinity mask of the main thread, or 0 if unknown. Not of the calling thread, because worker
// threads may be pinned to one core.
unsigned int coresInAffinityMask() {
    struct Free {
        void operator()(cpu_set_t* set) const { CPU_FREE(set); }
    };
    for (std::size_t capacity = 1024; capacity <= 1048576; capacity *= 4) {
        const std::unique_ptr<cpu_set_t, Free> set(CPU_ALLOC(capacity));
        if (!set)
            return 0;
        const std::size_t size = CPU_ALLOC_SIZE(capacity);
        if (sched_getaffinity(getpid(), size, set.get()) == 0)
            return static_cast<unsigned int>(CPU_COUNT_S(size, set.get()));
        // The call fails if the set is smaller than the kernel's: try a larger one.
    }
    return 0;
}

} // namespace

ktTBBInit* ktTBBInit::the() {
    static ktTBBInit instance;
    return &instance;
}

unsigned int ktTBBInit::getNumLogicalCores() const {
    const unsigned int cores = coresInAffinityMask();
    return std::max(1u, cores != 0 ? cores : std::thread::hardware_concurrency());
}

void ktThreadCount::set(unsigned int count) noexcept {
    requestedThreads = std::min(count, maxThreadCount);
}

unsigned int ktThreadCount::get() noexcept {
    const unsigned int count = requestedThreads;
    return count != 0 ? count : ktTBBInit::the()->getNumLogicalCores();
}

void ktThreadCount::setLowPriority(bool isLow) noexcept {
    hasLowPriority = isLow;
}

bool ktThreadCount::isLowPriority() noexcept {
    return hasLowPriority;
}
