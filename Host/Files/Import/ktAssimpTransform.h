// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGltfJson.h"

#include <assimp/types.h>

/// Writes a node's transform into `node`. glTF allows only transforms that are translation, rotation and scale, in this
/// order. Any other, such as shear, becomes two nodes: the returned one, to be put above `node`, and `node` itself.
/// The factors are those of the singular value decomposition (Golub, Reinsch, "Singular value decomposition and least
/// squares solutions", 1970).
/// @param isAnimated the node needs translation, rotation and scale instead of a matrix; shear is lost
/// @return null if one node is enough. A transform that is not finite is left out.
ktJson ktWriteAssimpTransform(ktJson& node, const aiMatrix4x4& matrix, bool isAnimated);
