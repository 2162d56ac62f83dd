// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktOneRing.h"
#include "ktTracer.h"
#include "ktWorldTransform.h"

/// Makes the vertices that rays start from.
///
/// A vertex lies on surfaces: its own, and in creases, corners and where parts touch on others, too. A ray from
/// the vertex itself would meet them or not as rounding has it. So rays start off the vertex by a little more than the
/// rounding errors: along the normal, which leaves the own surface, and along the own surface towards its middle, which
/// leaves walls that stand on its edge on the side where they belong. Hits nearer than half of that are not counted.
class ktVertexFrames {
public:
    /// @param toWorld    object to world; must outlive this object
    /// @param directions what the vertices trace
    /// @param sceneSize  diagonal of the occluders' bounds, world units
    ktVertexFrames(const ktWorldTransform& toWorld_, const ktPreparedDirections* directions_, float sceneSize_)
        : toWorld(toWorld_), directions(directions_), sceneSize(sceneSize_) {}

    /// The azimuth of the tangent is random, but the same whenever position and normal are the same, so that the errors
    /// of neighbours do not add up to a pattern.
    /// @param position, normal three floats, object space
    /// @param oneRing          where the own surface lies
    /// @return false when the vertex cannot be traced: position or normal do not come out finite
    bool make(const float* position, const float* normal, const ktOneRing& oneRing, ktRayVertex& vertex) const;

    /// The least distance of a hit that is no rounding error, world units: below any vertex' way off its surface.
    static float minHitDistance(float sceneSize);

private:
    const ktWorldTransform& toWorld;
    const ktPreparedDirections* directions;
    float sceneSize;
};
