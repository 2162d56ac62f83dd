// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGltfScene.h"
#include "ktUpAxis.h"

/// Squares along each side of a new ground plane.
const int ktGroundPlaneSquares = 8;

/// Adds a ground plane to a document and its scene: a new top node, marked in its extras, with a black blended grid of
/// squares below the geometry. A scene has at most one: returns an existing plane. Returns null, with a
/// warning, if the scene has no extent or the document's collections are broken.
/// @param up axis of the document that points up
osg::NodePtr ktAddGroundPlane(ktGltfDocument& document, const ktNodeTree& tree, ktGltfScene& scene, ktUpAxis up,
                              ktFileMessages& messages);
