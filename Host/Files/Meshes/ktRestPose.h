// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGltfDocument.h"
#include "ktNodeTransform.h"

#include <optional>
#include <vector>

class ktFileMessages;

/// The pose of a mesh at a node: the weights of its morph targets and the joints of its skin.
struct ktRestPose {
    std::vector<double> weights;  ///< one per morph target; empty: none
    std::vector<ktMatrix> joints; ///< per joint, from mesh space to the node's space, in the file's pose
    bool isEmpty() const { return weights.empty() && joints.empty(); }
};

/// The pose of the mesh that `node` shows. Leaves out a skin or weights that cannot be used, with a warning.
/// @param toScene for each node of the document, its transform to the scene; empty for nodes outside the scene
ktRestPose ktReadRestPose(const ktGltfDocument& document, std::size_t node,
                          const std::vector<std::optional<ktMatrix>>& toScene, ktFileMessages& messages);

/// Applies the pose to the vertices of a primitive.
/// @param source    source vertex of each vertex; null: all in sequence
/// @param positions x, y, z of each vertex
/// @param normals   x, y, z of each vertex, or empty; unit length afterwards
/// Throws ktFileError if an accessor that it needs is broken.
void ktApplyRestPose(const ktGltfDocument& document, const ktJson& primitive, const ktRestPose& pose,
                     const std::uint32_t* source, std::vector<float>& positions, std::vector<float>& normals);
