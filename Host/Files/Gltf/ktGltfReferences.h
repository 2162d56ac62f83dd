// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGltfJson.h"

#include <vector>

/// For each accessor, whether a part of the document that we know refers to it.
std::vector<bool> ktFindUsedAccessors(const ktJson& document);
/// For each buffer view, whether an accessor or an image refers to it.
std::vector<bool> ktFindUsedViews(const ktJson& document);

/// Before elements are added to a collection (accessors, buffers, bufferViews, materials, meshes or nodes): changes
/// references to elements that do not exist, so that they do not refer to the new ones.
void ktParkDanglingReferences(ktJson& document, const char* collection);
