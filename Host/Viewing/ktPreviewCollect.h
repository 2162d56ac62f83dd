// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktPreviewScene.h"

#include <OpenSG/OSGNode.h>

/// What the preview shows of a scene: its visible triangles with their colours, textures and baked light. Geometry
/// without results is shown in full light. Ground planes are drawn but not framed; environments are left out.
/// @param root may be null: nothing is shown
/// @throws std::bad_alloc when memory runs out
ktPreviewScene ktCollectPreview(const osg::NodePtr& root);
