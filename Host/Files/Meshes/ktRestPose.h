// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGltfDocument.h"
#include "ktNodeTransform.h"

#include <optional>
#include <vector>

class ktFileMessages;

/// What moves the vertices of a mesh where a node shows it: the weights of its morph targets, and its skin's joints.
struct ktRestPose {
    std::vector<double> weights;  ///< one a morph target; empty: none
    std::vector<ktMatrix> joints; ///< from the mesh's space, through each joint as it stands in the file, to the node's
    bool isEmpty() const { return weights.empty() && joints.empty(); }
};

/// The pose of the mesh that `node` shows. What cannot be used of a skin or of weights is warned about and left out.
/// @param toScene per node of the document its transform in the scene; empty for nodes outside the scene
ktRestPose ktReadRestPose(const ktGltfDocument& document, std::size_t node,
                          const std::vector<std::optional<ktMatrix>>& toScene, ktFileMessages& messages);

/// Moves the vertices of a primitive.
/// @param source    source vertex of each vertex; null: all in sequence
/// @param positions x, y, z of each vertex
/// @param normals   x, y, z of each vertex, or empty; unit length afterwards
/// Throws ktFileError when an accessor it needs is broken.
void ktApplyRestPose(const ktGltfDocument& document, const ktJson& primitive, const ktRestPose& pose,
                     const std::uint32_t* source, std::vector<float>& positions, std::vector<float>& normals);
