// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGltfDocument.h"
#include "ktNodeTransform.h"

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

class ktFileMessages;

/// A skin in the file's pose, for all nodes that show it.
struct ktSkin {
    std::string object;            ///< JSON pointer
    std::vector<ktMatrix> toScene; ///< of each joint
    std::vector<ktMatrix> bind;    ///< from mesh space to each joint; empty: identities
    std::string problem;           ///< why it cannot be used; empty: none
};

/// The pose of a mesh at a node: the weights of its morph targets and its skin.
struct ktRestPose {
    std::vector<double> weights;        ///< one per morph target; empty: none
    std::shared_ptr<const ktSkin> skin; ///< null: none
    ktMatrix toNode = ktIdentity;       ///< from the scene to the node's space
    bool isEmpty() const { return weights.empty() && !skin; }
};

/// Reads poses. A skin is read once.
class ktRestPoseReader {
public:
    /// @param toScene for each node of the document, its transform to the scene; empty for nodes outside the scene.
    /// Must be filled before the first node with a skin is read. All must outlive the reader.
    ktRestPoseReader(const ktGltfDocument& document, const std::vector<std::optional<ktMatrix>>& toScene,
                     ktFileMessages& messages);
    /// The pose of the mesh that `node` shows. Leaves out a skin or weights that cannot be used, with a warning.
    ktRestPose read(std::size_t node);

private:
    const ktGltfDocument& document;
    const std::vector<std::optional<ktMatrix>>& toScene;
    ktFileMessages& messages;
    std::map<std::size_t, std::shared_ptr<const ktSkin>> skins;
};

/// Applies the pose to the vertices of a primitive.
/// @param source    source vertex of each vertex; null: all in sequence
/// @param positions x, y, z of each vertex
/// @param normals   x, y, z of each vertex, or empty; unit length afterwards
/// Throws ktFileError if an accessor that it needs is broken.
void ktApplyRestPose(const ktGltfDocument& document, const ktJson& primitive, const ktRestPose& pose,
                     const std::uint32_t* source, std::vector<float>& positions, std::vector<float>& normals);
