// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <atomic>
#include <cstddef>

/// Progress of a refinement. Another thread may read it.
struct ktRefinementProgress {
    std::atomic<int> round{0}, rounds{0};
    std::atomic<std::size_t> newVertices{0};
};
