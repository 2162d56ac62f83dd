// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktFlushDenormals.h"

#include <cstddef>
#include <tbb/blocked_range.h>
#include <tbb/parallel_for.h>
#include <tbb/parallel_sort.h>

/// Parallel loops on the worker threads of the calling thread's arena (see ktWorkers). Only this file and ktWorkers
/// use TBB.
namespace ktParallel {

/// Calls body(begin, end) for parts of [0, count), each at most `grain` (at least 1) long, in any order, on any thread.
/// Denormal numbers count as zero in the body. An exception in the body stops the loop and is thrown here.
template <class Body>
void forRange(std::size_t count, std::size_t grain, const Body& body) {
    tbb::parallel_for(
        tbb::blocked_range<std::size_t>(0, count, grain),
        [&body](const tbb::blocked_range<std::size_t>& range) {
            const ktFlushDenormals fast;
            body(range.begin(), range.end());
        },
        tbb::simple_partitioner());
}

/// Calls body(0) to body(count - 1), in any order, on any thread. The body may call this again, for example for the
/// branches of a tree. Denormal numbers keep their value, unlike in forRange(). An exception in the body stops the loop
/// and is thrown here.
template <class Body>
void forEach(std::size_t count, const Body& body) {
    tbb::parallel_for(
        tbb::blocked_range<std::size_t>(0, count),
        [&body](const tbb::blocked_range<std::size_t>& range) {
            for (std::size_t i = range.begin(); i < range.end(); ++i)
                body(i);
        },
        tbb::simple_partitioner());
}

/// Sorts. `less` must order any two elements that differ; then the result does not depend on the number of threads.
template <class Iterator, class Less>
void sort(Iterator begin, Iterator end, const Less& less) {
    tbb::parallel_sort(begin, end, less);
}

} // namespace ktParallel
