// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGltfDocument.h"
#include "ktPrimitiveLink.h"

class ktFileMessages;
class ktGltfStore;

/// Removes the attributes and indices of a refined primitive from the document. Keeps the order of their names.
void ktForgetRefined(ktGltfDocument& document, const ktPrimitiveLink& link);
/// Writes a refined geometry as its primitive: triangles, with all attributes of the primitive, as floats. Normals
/// and tangents get unit length. Calculated normals are written only if the surface is
/// not flat. Call after
/// ktForgetRefined().
void ktWriteRefined(ktGltfDocument& document, ktGltfStore& store, const ktPrimitiveLink& link,
                    ktFileMessages& messages);
