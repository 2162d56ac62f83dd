// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGltfDocument.h"
#include "ktPrimitiveLink.h"

class ktFileMessages;
class ktGltfStore;

/// Writes a primitive with the vertices that its geometry got at creases (ktPrimitiveLink::isSplit): copies of all
/// attributes and morph targets, in their formats, with one element for each vertex of the geometry; and its triangles.
/// The primitive must still be as it was read. Leaves out attributes that cannot be read, with a warning.
void ktWriteSplit(ktGltfDocument& document, ktGltfStore& store, const ktPrimitiveLink& link, ktFileMessages& messages);
