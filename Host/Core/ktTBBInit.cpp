// SPDX-License-Identifier: LGPL-2.1-or-later
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

// Cores in the affinity mask of the process's main thread; 0 when the system does not tell. Worker threads may be
// pinned to a core of their own, so the calling thread's mask would not do.
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
        // The call fails for a set smaller than the kernel's; a larger one is tried.
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
