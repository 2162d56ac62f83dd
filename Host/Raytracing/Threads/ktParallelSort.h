// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#ifdef __SANITIZE_THREAD__
#include <algorithm>
#else
// Qt's macro `emit` is the name of a function of TBB.
#pragma push_macro("emit")
#undef emit
#include <tbb/parallel_sort.h>
#pragma pop_macro("emit")
#endif

namespace ktParallel {

/// Sorts on the worker threads. `less` must order any two elements that differ; then the result does not depend on the
/// number of threads.
template <class Iterator, class Less>
void sort(Iterator begin, Iterator end, const Less& less) {
#ifdef __SANITIZE_THREAD__
    std::sort(begin, end, less); // the sanitizer does not see how TBB's threads wait for each other
#else
    tbb::parallel_sort(begin, end, less);
#endif
}

} // namespace ktParallel
