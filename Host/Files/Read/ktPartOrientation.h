// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGltfScene.h"

/// What a file's normals and materials say about the sides of its surfaces.
struct ktSideRules {
    bool isGltf = true;                ///< viewers show only fronts, unless a material is double-sided
    bool normalsFollowWinding = false; ///< the file's normals are those of its triangles, as in STL
};

/// Finds closed parts of meshes whose triangles face inwards, and closed parts whose normals point to the back of most
/// of their triangles. Turns the triangles and normals of the geometries so that the side that is seen from outside is
/// calculated, and warns. The document of a glTF file does not change; that of another format is turned, too.
///
/// Left as they are: parts that are not closed; parts that face inwards and contain a camera or other parts, or lie
/// inside another part, because they may be rooms and cavities; and, in glTF, inwards facing parts that viewers show
/// like that, because their normals say so or because their materials show fronts only.
void ktCorrectOrientation(ktGltfDocument& document, ktGltfScene& scene, const ktSideRules& rules,
                          ktFileMessages& messages);
