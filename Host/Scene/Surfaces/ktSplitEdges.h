// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstdint>
#include <vector>

/// A new vertex of a geometry. It lies between two others: old ones, or new ones before it.
struct ktSplitEdge {
    std::uint32_t a, b;
    float at = 0.5f; ///< above 0 (at a), below 1 (at b)

    /// What is linear along the edge. The result does not depend on the order of the ends.
    template <class Value>
    Value interpolate(const Value& atA, const Value& atB) const {
        return atA * (1 - at) + atB * at;
    }
};
using ktSplitEdges = std::vector<ktSplitEdge>;
