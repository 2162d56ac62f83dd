// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktWholeScene.h"

#include <memory>
#include <string>
#include <vector>

/// All that a calculation changes in a geometry.
struct ktRefinedGeometry {
    std::vector<osg::Pnt3f> positions;
    std::vector<osg::Vec3f> normals;
    std::vector<std::uint32_t> triangles;
    std::vector<osg::Vec4f> results, bakedLight; ///< channels 7 and 5; empty without the channel

    bool operator==(const ktRefinedGeometry& other) const;
};

/// A scene with a floor of two parts that touch, a wall between them, and red and white blocks. Its triangles are large
/// enough to be refined. The nodes have the given order.
std::vector<std::string> ktRefinedSceneParts();
/// @param order names of the parts, each once
std::unique_ptr<ktWholeScene> ktMakeRefinedScene(const std::vector<std::string>& order);
/// Indirect light with refinement in both passes, fast enough to repeat.
ktWholeSettings ktRefinedSettings(int mode = 0);

/// The present geometry and results of a part of the scene.
ktRefinedGeometry ktReadRefined(const ktWholeScene& scene, const std::string& name);
