// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktOneRing.h"
#include "ktTracer.h"
#include "ktWorldTransform.h"

/// Makes the ray vertices: where rays start, and the frame of their directions.
///
/// A vertex lies on its own surface. In creases, in corners and where parts touch, it also lies on others. Whether a
/// ray from the vertex itself hits these surfaces depends on rounding. So rays start a little more than the rounding
/// errors away: along the normal, off the own surface, and along the own surface away from its border, so that walls at
/// the border stay on the correct side. Hits nearer than half of this offset do not count.
class ktVertexFrames {
public:
    /// @param toWorld    object to world; must outlive this object
    /// @param directions of the rays of all vertices
    /// @param sceneSize  diagonal of the occluders' bounds, world units
    ktVertexFrames(const ktWorldTransform& toWorld_, const ktPreparedDirections* directions_, float sceneSize_)
        : toWorld(toWorld_), directions(directions_), sceneSize(sceneSize_) {}

    /// The azimuth of the tangent is random, so that the errors of neighbours form no pattern. Equal positions and
    /// normals give equal azimuths.
    /// @param position, normal three floats, object space
    /// @param oneRing          of the vertex; an empty one is allowed
    /// @return false if the vertex cannot be traced: its world position or normal is not finite
    bool make(const float* position, const float* normal, const ktOneRing& oneRing, ktRayVertex& vertex) const;

    /// The smallest distance of a real hit, world units. It is smaller than the offset of any vertex.
    static float minHitDistance(float sceneSize);

private:
    const ktWorldTransform& toWorld;
    const ktPreparedDirections* directions;
    float sceneSize;
};
