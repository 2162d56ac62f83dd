// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktMaterialReader.h"
#include "ktNodeTree.h"
#include "ktPrimitiveLink.h"
#include "ktPrimitiveReader.h"
#include "ktSceneCamera.h"

#include <memory>
#include <OpenSG/OSGNode.h>

/// A node of the scene graph and its node of the document.
struct ktNodeLink {
    std::size_t node;
    osg::NodePtr shown;
};

/// The scene graph built from one scene of a document, and the relations between the two.
struct ktGltfScene {
    osg::NodeRefPtr root;                        ///< a transform, initially the identity: for the unit
    std::vector<ktNodeLink> nodes;               ///< parents before children
    std::vector<ktPrimitiveLink> primitives;     ///< in the order of their first use
    std::vector<ktSceneCamera> cameras;          ///< in the order of nodes
    std::unique_ptr<ktMaterialReader> materials; ///< refers to the document
};

/// Builds the scene graph. A node of the document becomes a transform, or a group if it has none. Its children are
/// first its geometries, one per primitive, then its light, then its child nodes. Meshes that several nodes show
/// become shared cores. Throws ktFileError if the scene has no usable geometry. The document must outlive the
/// result.
ktGltfScene ktBuildScene(const ktGltfDocument& document, const ktNodeTree& tree, const ktSurfaceOptions& options,
                         ktFileMessages& messages);

/// Adds a node of the document, without its children, to the top of an already built scene.
void ktExtendScene(ktGltfScene& scene, const ktGltfDocument& document, std::size_t node, ktFileMessages& messages);

/// Whether the extras mark the node as a ground plane that a bake added.
bool ktIsGroundPlaneNode(const ktJson& node);
