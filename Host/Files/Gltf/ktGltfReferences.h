// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGltfJson.h"

#include <vector>

/// For each accessor of a document, whether a mesh, an animation, a skin or a node's instancing refers to it.
std::vector<bool> ktFindUsedAccessors(const ktJson& document);
/// For each buffer view of a document, whether an accessor or an image refers to it.
std::vector<bool> ktFindUsedViews(const ktJson& document);
