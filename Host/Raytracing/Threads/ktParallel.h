// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktFlushDenormals.h"

#include <cstddef>

/// Parallel loops on the worker threads of the calling thread's arena (see ktWorkers). Only ktParallel.cpp,
/// ktParallelSort.h and ktWorkers use TBB.
namespace ktParallel {

/// Calls part(body, begin, end) for parts of [0, count), each at most `grain` (at least 1) long, in any order, on any
/// thread. An exception in a part stops the loop and is thrown here; std::bad_alloc if a thread lacks the memory to
/// throw. For the loops below.
void runParts(std::size_t count, std::size_t grain, const void* body,
              void (*part)(const void* body, std::size_t begin, std::size_t end));

/// Calls body(begin, end) for parts of [0, count), each at most `grain` (at least 1) long, in any order, on any thread.
/// Denormal numbers count as zero in the body. An exception in the body stops the loop and is thrown here.
template <class Body>
void forRange(std::size_t count, std::size_t grain, const Body& body) {
    runParts(count, grain, &body, [](const void* called, std::size_t begin, std::size_t end) {
        const ktFlushDenormals fast;
        (*static_cast<const Body*>(called))(begin, end);
    });
}

/// Calls body(0) to body(count - 1), in any order, on any thread. The body may call this again, for example for the
/// branches of a tree. Denormal numbers keep their value, unlike in forRange(). An exception in the body stops the loop
/// and is thrown here.
template <class Body>
void forEach(std::size_t count, const Body& body) {
    runParts(count, 1, &body, [](const void* called, std::size_t begin, std::size_t end) {
        for (std::size_t i = begin; i < end; ++i)
            (*static_cast<const Body*>(called))(i);
    });
}

} // namespace ktParallel
