// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktWholeScene.h"

#include <memory>
#include <string>
#include <vector>

/// All that a calculation leaves in a geometry.
struct ktRefinedGeometry {
    std::vector<osg::Pnt3f> positions;
    std::vector<osg::Vec3f> normals;
    std::vector<std::uint32_t> triangles;
    std::vector<osg::Vec4f> results, bakedLight; ///< channels 7 and 5; empty: there is none

    bool operator==(const ktRefinedGeometry& other) const;
};

/// A floor of two parts that touch, a wall between them and red and white blocks, coarse enough to be refined. The
/// parts in this order make up the scene.
std::vector<std::string> ktRefinedSceneParts();
/// @param order names of the parts, each once
std::unique_ptr<ktWholeScene> ktMakeRefinedScene(const std::vector<std::string>& order);
/// Indirect light with refinement of both passes, quick enough to be repeated.
ktWholeSettings ktRefinedSettings(int mode = 0);

/// What a part of the scene holds now.
ktRefinedGeometry ktReadRefined(const ktWholeScene& scene, const std::string& name);
