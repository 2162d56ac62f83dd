// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGltfDocument.h"
#include "ktPrimitiveLink.h"

class ktFileMessages;
class ktGltfStore;

/// Takes the attributes and indices of a refined primitive out of the document, all but their names' places.
void ktForgetRefined(ktGltfDocument& document, const ktPrimitiveLink& link);
/// Writes a refined geometry as its primitive: triangles, with every attribute that the primitive had, as floats.
/// Normals and tangents get unit length; normals that did not come with the file are not written. Call after
/// ktForgetRefined().
void ktWriteRefined(ktGltfDocument& document, ktGltfStore& store, const ktPrimitiveLink& link,
                    ktFileMessages& messages);
