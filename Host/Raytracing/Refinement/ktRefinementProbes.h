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
    float normal[3] = {0, 0, 0}; ///< zero: none; the light there is constant
    ktOneRing oneRing;
};

/// Traces the light at points of any geometry, all together. Uses only as many rays as refinement needs to see
/// differences of light.
class ktRefinementProbes {
public:
    /// @param tasks      must outlive this object
    /// @param difference the smallest difference that must be above the noise; more than 0
    /// @param indirect   traces indirect light; false: direct light
    ktRefinementProbes(const ktRefinementTasks& tasks, float difference, bool indirect);
    ~ktRefinementProbes();

    /// Adds a probe. @return its index
    std::size_t add(const ktSurfacePoint& point);
    /// Traces all probes added since clear(). Worker thread. The light does not depend on the order of add().
    /// @throws ktCanceled, std::bad_alloc
    void trace();
    /// The light that trace() found at a probe.
    const ktIllumination& operator[](std::size_t probe) const { return measured[probe]; }
    void clear();
    /// Rays that all calls of trace() traced.
    const ktRayCounts& rays() const { return traced; }

    /// Rays along each axis of the pattern that make a difference visible above the noise.
    static std::uint32_t raysPerAxis(float difference);

private:
    const ktRefinementTasks& tasks;
    bool indirect;
    ktDirectionSet ownDirections; // empty if the pass uses as few rays
    std::unique_ptr<ktPreparedDirections> prepared;
    const ktPreparedDirections* directions;
    std::vector<ktSurfacePoint> points;
    std::vector<ktIllumination> measured;
    ktRayCounts traced;
};
