// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktRayPacket.h"

#include <cstdint>

/// Counts the sides of the surfaces that the rays of a point hit, to tell whether it lies inside a solid.
struct ktSideCount {
    std::uint32_t hits = 0, backSides = 0;

    /// @param lanes bit i: ray i of the packet counts
    void add(const ktHitPacket& packet, std::uint32_t lanes) {
        for (std::uint32_t lane = 0; lane < ktHitPacket::width; ++lane)
            if ((lanes >> lane & 1u) != 0 && packet.mesh[lane] != ktHitPacket::noMesh) {
                ++hits;
                backSides += packet.backSide >> lane & 1u;
            }
    }
    /// More than half of the surfaces show their back side.
    bool isInside() const { return 2 * backSides > hits; }
};
