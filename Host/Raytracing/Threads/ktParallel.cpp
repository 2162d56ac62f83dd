// SPDX-License-Identifier: LGPL-2.1-or-later
// Runs the parts of a parallel loop as tasks of TBB.
#include "ktParallel.h"

#include "ktThreadMemory.h"

#include <atomic>
#include <new>
#include <tbb/blocked_range.h>
#include <tbb/parallel_for.h>
#include <tbb/task_group.h>

#ifdef KT_THREAD_SANITIZER
#include <sanitizer/tsan_interface.h>
#endif

namespace {

// Tells the thread sanitizer, which does not see into TBB, what parallel_for() promises: the caller's work before the
// loop comes before all parts, and all parts come before its work after the loop. The parts have no order among
// themselves. This file itself is compiled without it.
#ifdef KT_THREAD_SANITIZER
class LoopOrder {
public:
    LoopOrder() { __tsan_release(&begun); }
    ~LoopOrder() { __tsan_acquire(&ended); }
    void beginPart() const { __tsan_acquire(&begun); }
    void endPart() const { __tsan_release(&ended); }

private:
    mutable char begun = 0, ended = 0;
};
#else
struct LoopOrder {
    void beginPart() const {}
    void endPart() const {}
};
#endif

} // namespace

void ktParallel::runParts(std::size_t count, std::size_t grain, const void* body,
                          void (*part)(const void* body, std::size_t begin, std::size_t end)) {
    const LoopOrder order;
    std::atomic<bool> isMemoryShort{false};
    tbb::task_group_context context;
    tbb::parallel_for(
        tbb::blocked_range<std::size_t>(0, count, grain),
        [&, body, part](const tbb::blocked_range<std::size_t>& range) {
            if (!ktThreadMemory::take()) { // this thread must not throw
                isMemoryShort = true;
                context.cancel_group_execution();
                return;
            }
            order.beginPart();
            try {
                part(body, range.begin(), range.end());
            } catch (...) {
                order.endPart();
                throw;
            }
            order.endPart();
        },
        tbb::simple_partitioner(), context);
    if (isMemoryShort)
        throw std::bad_alloc();
}
