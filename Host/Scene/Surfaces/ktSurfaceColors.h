// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"
#include "OSGUberMaterial.h"

#include <array>
#include <cstdint>
#include <OpenSG/OSGGeometry.h>
#include <OpenSG/OSGNode.h>
#include <vector>

/// The material in effect for a node of the scene: that of the nearest material group, from the node upwards, else the
/// geometry's own. Null if there is none.
KT_HOST_EXPORT osg::MaterialPtr ktMaterialInEffect(const osg::NodePtr& node);

/// A surface's own colour at any point. A copy independent of the scene graph, so thread-safe to read.
struct KT_HOST_EXPORT ktSurfaceColors {
    using Color = std::array<float, 4>; ///< linear red, green, blue, and alpha

    Color base = {1, 1, 1, 1};                   ///< of the material; white if it has no colour
    std::vector<Color> vertexColors;             ///< multiply `base`; one per position, or empty
    osg::UberMaterialTexture texture;            ///< multiplies both; used only with `texCoords`
    std::vector<std::array<float, 2>> texCoords; ///< one per position, or empty

    /// Colour of the material and of the vertex, without the texture.
    Color vertexColor(std::uint32_t vertex) const;
    /// Colour inside a triangle.
    /// @param corners indices of three positions, in range
    /// @param u, v    barycentric weights of the second and the third corner
    Color at(const std::uint32_t* corners, float u, float v) const;
};

/// Reads the colours of `geometry` under `material`. Either may be null. Main thread only.
KT_HOST_EXPORT ktSurfaceColors ktReadSurfaceColors(const osg::GeometryPtr& geometry, const osg::MaterialPtr& material);
