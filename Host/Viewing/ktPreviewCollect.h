// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGeometryInstances.h"
#include "ktPreviewScene.h"

#include <functional>
#include <OpenSG/OSGNode.h>

/// The normals of a geometry in world space, of any length, one per position; empty if it has none.
/// @param instance its geometry has positions
std::vector<std::array<float, 3>> ktReadPreviewNormals(const ktGeometryInstance& instance);

/// Collects a scene's visible triangles with their colours, textures and baked light. Geometry without results is in
/// full light. Ground planes are drawn but do not affect the camera. Environments are left out.
/// @param root null gives an empty scene
/// @param isInterrupted asked from time to time; true ends the collecting
/// @throws std::bad_alloc when memory runs out
ktPreviewScene ktCollectPreview(
    const osg::NodePtr& root, const std::function<bool()>& isInterrupted = [] { return false; });
