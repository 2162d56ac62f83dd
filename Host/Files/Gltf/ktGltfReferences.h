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

/// Before data are added to buffers, or buffers are joined: changes references of buffer views, and of extensions
/// inside them, that reach beyond the end of their buffer, so that they do not refer to the new data.
/// @param sizes of the buffers, in bytes; SIZE_MAX: references to this buffer stay
void ktParkViewsBeyond(ktJson& document, const std::vector<std::size_t>& sizes);
