// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktEventPump.h"
#include "ktTracedScene.h"

#include <cstdint>
#include <vector>

/// On which side the triangles of a geometry receive light: the side to which their normals point. Usually, but not
/// always, it is the front by their winding.
class ktLitSide {
public:
    /// Compares the winding of each triangle with the normals of its corners. Main thread.
    ktLitSide(const ktTracedGeometry& traced, ktEventPump& pump);

    /// @param isBack the ray hit the back of the triangle, by its winding
    bool isLit(std::uint32_t triangle, bool isBack) const {
        return isUnknown || isBack == (!isReversed.empty() && isReversed[triangle]);
    }

private:
    bool isUnknown = false;       // there are no normals: both sides count
    std::vector<bool> isReversed; // by triangle: light arrives on the back; empty if none is
};
