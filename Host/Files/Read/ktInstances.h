// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGltfDocument.h"
#include "ktNodeTransform.h"

class ktFileMessages;

/// The transforms of a node's instances (EXT_mesh_gpu_instancing), from mesh space to the node's space. Empty if the
/// node has none. If they cannot be read: one identity, with a warning.
std::vector<ktMatrix> ktReadInstances(const ktGltfDocument& document, std::size_t node, ktFileMessages& messages);

/// Replaces instances by child nodes, so that each can get a mesh. Keeps the names of the nodes.
void ktMakeInstancesNodes(ktGltfDocument& document, ktFileMessages& messages);
