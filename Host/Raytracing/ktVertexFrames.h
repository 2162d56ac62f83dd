// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktTracer.h"
#include "ktWorldTransform.h"

/// Makes the vertices that rays start from.
class ktVertexFrames {
public:
    /// @param toWorld    object to world; must outlive this object
    /// @param directions what the vertices trace
    /// @param sceneSize  diagonal of the occluders' bounds, world units
    ktVertexFrames(const ktWorldTransform& toWorld, const ktPreparedDirections* directions, float sceneSize)
        : toWorld(toWorld), directions(directions), sceneSize(sceneSize) {}

    /// The vertex with its world position, moved off the surface along the normal by a little more than the rounding
    /// errors of the position and of the ray against triangles as large as the scene. The azimuth of the tangent is
    /// random, but the same whenever position and normal are the same, so that the errors of neighbours do not add
    /// up to a pattern.
    /// @param position, normal three floats, object space
    /// @return false when the vertex cannot be traced: position or normal do not come out finite
    bool make(const float* position, const float* normal, ktRayVertex& vertex) const;

private:
    const ktWorldTransform& toWorld;
    const ktPreparedDirections* directions;
    float sceneSize;
};
