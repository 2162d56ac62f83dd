// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktPrimitiveLink.h"

#include <array>

/// What a geometry holds of baked light, one element a vertex. Values that are not finite count as 0.
struct ktBakedLight {
    std::vector<osg::Vec4f> working; ///< channel 7: indirect light and direct result; empty: no result
    std::vector<osg::Vec4f> light;   ///< channel 5, light and shadows mode; empty: none
    bool hasIndirect = false;        ///< some indirect light was calculated
    bool isEmpty() const { return working.empty() && light.empty(); }
};

/// Reads the result channels. A channel whose w are all at most ktLeastResult holds no result.
ktBakedLight ktReadBakedLight(const osg::GeometryPtr& geometry);

/// The colour that bounced light at the geometry's surface was multiplied by when it was gathered: the material's, or
/// its luminance where the settings of the geometry's node say so.
std::array<float, 3> ktGatheredSurfaceColor(const osg::GeometryPtr& geometry);

/// Light that arrives at a vertex, for a viewer that multiplies it by the surface's colour: the direct result or the
/// baked light, plus the indirect light with the surface's colour divided out.
std::array<float, 3> ktArrivingLight(const ktBakedLight& baked, std::size_t vertex,
                                     const std::array<float, 3>& surfaceColor);
