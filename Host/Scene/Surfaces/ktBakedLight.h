// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <array>
#include <cstdint>
#include <OpenSG/OSGGeometry.h>
#include <OpenSG/OSGNode.h>
#include <vector>

/// The result channels of a geometry, as they are stored. Valid until the channels change.
struct ktBakedChannels {
    osg::UInt32 count = 0; ///< elements of each: one per position; 0 if the geometry holds no result
    const osg::Vec4f* results =
        nullptr;                       ///< channel 7: indirect light times the gathered colour, and w; null: no result
    const osg::Vec4f* lamps = nullptr; ///< channel 5: direct light; null: w is the direct light
};

/// Finds the result channels. A geometry holds no result if channel 7 is missing or too short, or if none of its w
/// exceeds 1e-6. Null holds none.
KT_HOST_EXPORT ktBakedChannels ktFindBakedChannels(const osg::GeometryPtr& geometry);

/// What ktHashBakedChannels() begins with.
constexpr std::uint64_t ktBakedHashBegin = 14695981039346656037u;
/// A number that differs between different results. Of several geometries: pass the number of the one before.
/// Channels without results do not change the number.
/// Source: G. Fowler, L. Noll and K.-P. Vo, The FNV Non-Cryptographic Hash Algorithm (FNV-1a, over words), 1991.
KT_HOST_EXPORT std::uint64_t ktHashBakedChannels(const ktBakedChannels& channels,
                                                 std::uint64_t state = ktBakedHashBegin) noexcept;

/// The colour by which the stored indirect light of a node was multiplied: that of its material, or its luminance if
/// the bounced light did not take the colour of surfaces. White without a material of the host.
/// @param node not null
KT_HOST_EXPORT osg::Color3f ktGatheredColor(const osg::NodePtr& node);

/// The light that arrives at each vertex of a baked geometry; a viewer multiplies the surface's colour by it.
/// Linear red, green, blue. 1 is a surface in the open; light from lamps may exceed it. The sum of
/// - direct light: the colour in channel 5 if the geometry has that channel, else w of channel 7 as grey;
/// - indirect light: stored multiplied by the surface's colour, so divided by that colour here.
/// @param node     node of the scene that holds the geometry; its material and the settings it was baked with are used
/// @return one element per position; empty if the geometry holds no result
KT_HOST_EXPORT std::vector<std::array<float, 3>> ktReadBakedLight(const osg::NodePtr& node,
                                                                  const osg::GeometryPtr& geometry);
