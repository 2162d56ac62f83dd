// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGltfScene.h"

/// Squares along each side of a new ground plane.
const int ktGroundPlaneSquares = 8;

/// Adds a ground plane to a document and its scene: a node of its own at the top, tagged in its extras, with a grid of
/// squares under the geometry that is there (y up), black and blended. A scene has at most one: where there is one,
/// that is returned. Null when the scene has no extent or the document's collections are broken, with a warning.
osg::NodePtr ktAddGroundPlane(ktGltfDocument& document, const ktNodeTree& tree, ktGltfScene& scene,
                              ktFileMessages& messages);
