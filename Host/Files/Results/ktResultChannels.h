// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktPrimitiveLink.h"

#include <array>

/// The results of a geometry, one element per vertex. Values that are not finite count as 0.
struct ktResultChannels {
    std::vector<osg::Vec4f> working;            ///< channel 7: indirect light and direct result; empty: no result
    std::vector<osg::Vec4f> light;              ///< channel 5, light and shadows mode; empty: none
    std::vector<std::array<float, 3>> arriving; ///< factor on the surface's colour in viewers; empty: no result
    bool hasIndirect = false;                   ///< some indirect light was calculated

    bool isEmpty() const { return working.empty() && light.empty(); }
};

/// Reads the result channels. A channel in which all w are at most ktLeastResult holds no result.
ktResultChannels ktReadResultChannels(const osg::GeometryPtr& geometry);
/// Replaces the results of vertices that have the same source by their mean.
/// @param link of a geometry that is not refined
void ktAverageShared(ktResultChannels& results, const ktPrimitiveLink& link);
/// Whether the channels hold a result.
bool ktHasResults(const osg::GeometryPtr& geometry);
