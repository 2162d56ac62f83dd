// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktMaterialReader.h"
#include "ktNodeTree.h"
#include "ktPrimitiveLink.h"
#include "ktSceneCamera.h"

#include <memory>
#include <OpenSG/OSGNode.h>

/// What ties a node of the scene graph to a node of the document.
struct ktNodeLink {
    std::size_t node;
    osg::NodePtr shown;
};

/// The scene graph made of one scene of a document, and the ties between the two.
struct ktGltfScene {
    osg::NodeRefPtr root;                        ///< a transform, the identity at first: units go here
    std::vector<ktNodeLink> nodes;               ///< parents before children
    std::vector<ktPrimitiveLink> primitives;     ///< in the order in which they are met first
    std::vector<ktSceneCamera> cameras;          ///< in the order of nodes
    std::unique_ptr<ktMaterialReader> materials; ///< refers to the document
};

/// Builds the scene graph: a node of the document becomes a node with a transform (a group where it has none), below it
/// first its geometries, one a primitive, then its light, then its children. Meshes that several nodes show become
/// shared cores. Throws ktFileError when the scene has no geometry that can be used. The document must outlive the
/// result.
ktGltfScene ktBuildScene(const ktGltfDocument& document, const ktNodeTree& tree, ktFileMessages& messages);

/// Adds a node of the document, without its children, to the top of a scene that was built before.
void ktExtendScene(ktGltfScene& scene, const ktGltfDocument& document, std::size_t node, ktFileMessages& messages);

/// Whether extras tell the node to be a ground plane that was added by a bake.
bool ktIsGroundPlaneNode(const ktJson& node);
