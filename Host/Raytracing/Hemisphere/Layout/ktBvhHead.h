// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktWideBvhLayout.h"

#include <cstdint>

/// What a copy of a BVH must know besides its two arrays. Plain data.
struct ktBvhHead {
    std::uint64_t hasInstances = 0; ///< 1: a two-level BVH
    ktWideBvhRef root = 0;
    std::uint64_t levels = 0, parts = 0;
    std::uint64_t count[2] = {0, 0}; ///< elements: nodes and cache lines; of a two-level BVH, cache lines and instances
    std::uint64_t address[2] = {0, 0}; ///< of nodes and cache lines, to which references of the original refer
};
