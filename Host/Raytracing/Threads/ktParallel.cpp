// SPDX-License-Identifier: LGPL-2.1-or-later
// Runs the parts of a parallel loop as tasks of TBB.
#include "ktParallel.h"

#include "ktLoopOrder.h"
#include "ktThreadMemory.h"

#include <atomic>
#include <new>
#include <tbb/blocked_range.h>
#include <tbb/parallel_for.h>
#include <tbb/task_group.h>

void ktParallel::runParts(std::size_t count, std::size_t grain, const void* body,
                          void (*part)(const void* body, std::size_t begin, std::size_t end)) {
    const ktLoopOrder order;
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
            const ktLoopOrder::Part ordered(order);
            part(body, range.begin(), range.end());
        },
        tbb::simple_partitioner(), context);
    if (isMemoryShort)
        throw std::bad_alloc();
}
