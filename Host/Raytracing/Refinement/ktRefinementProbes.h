// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktOneRing.h"
#include "ktRayCounts.h"
#include "ktRefinementTasks.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

/// A point of a surface in world space.
struct ktSurfacePoint {
    float position[3] = {0, 0, 0};
    float normal[3] = {0, 0, 0}; ///< zero: there is none, and light does not vary there
    ktOneRing oneRing;
};

/// Looks at light at points of any geometry, all at once and with no more rays than it takes to see a difference as
/// large as refinement looks for.
class ktRefinementProbes {
public:
    /// @param how        lives as long as this object
    /// @param difference the smallest difference that has to be told from noise, above 0
    /// @param indirect   looks at the indirect light; else at the direct one
    ktRefinementProbes(const ktRefinementTasks& tasks, float difference, bool indirect);
    ~ktRefinementProbes();

    /// Orders a look. @return its number
    std::size_t add(const ktSurfacePoint& point);
    /// Carries out all orders since clear(); worker thread. What is seen does not depend on the order of add().
    /// @throws ktCanceled, std::bad_alloc
    void trace();
    /// What look() saw.
    const ktIllumination& operator[](std::size_t probe) const { return measured[probe]; }
    void clear();
    /// Rays that all calls of look() traced.
    const ktRayCounts& rays() const { return traced; }

    /// Rays along each axis of the pattern that tell a difference from noise, whatever the pass itself traces.
    static std::uint32_t raysPerAxis(float difference);

private:
    const ktRefinementTasks& tasks;
    bool indirect;
    ktDirectionSet ownDirections; // unless the pass's own are as few
    std::unique_ptr<ktPreparedDirections> prepared;
    const ktPreparedDirections* directions;
    std::vector<ktSurfacePoint> points;
    std::vector<ktIllumination> seen;
    ktRayCounts traced;
};
