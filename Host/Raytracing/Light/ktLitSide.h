// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktEventPump.h"
#include "ktTracedScene.h"

#include <cstdint>
#include <utility>
#include <vector>

/// On which side the triangles of a geometry receive light: the side to which their normals point. Usually, but not
/// always, it is the front by their winding.
class ktLitSide {
public:
    /// Compares the winding of each triangle with the normals of its corners. Main thread.
    ktLitSide(const ktTracedGeometry& traced, ktEventPump& pump);

    /// A copy of what another object says. @param reversed by triangle; empty if none is
    ktLitSide(bool unknown, std::vector<bool> reversed) : isUnknown(unknown), isReversed(std::move(reversed)) {}

    /// Whether there are no normals: both sides receive light.
    bool hasBoth() const { return isUnknown; }
    /// By triangle: light arrives on the back; empty if on none.
    const std::vector<bool>& reversed() const { return isReversed; }

    /// @param isBack the ray hit the back of the triangle, by its winding
    bool isLit(std::uint32_t triangle, bool isBack) const {
        return isUnknown || isBack == (!isReversed.empty() && isReversed[triangle]);
    }

private:
    bool isUnknown = false;       // there are no normals: both sides count
    std::vector<bool> isReversed; // by triangle: light arrives on the back; empty if none is
};
