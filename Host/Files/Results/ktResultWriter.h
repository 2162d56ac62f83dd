// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGltfDocument.h"
#include "ktPrimitiveLink.h"

class ktFileMessages;
class ktGltfStore;

/// How baked light is brought before a viewer's eyes.
struct ktShading {
    bool multiply = true;  ///< multiply it into COLOR_0; else only the exact results are written
    float exposure = 1.0f; ///< factor on the light that is multiplied in
};

/// Takes what earlier bakes added to these primitives out of the document, so that it is as it first came, except for
/// refined geometry. The data go when the next ktGltfStore is made.
void ktRemoveResults(ktGltfDocument& document, const std::vector<ktPrimitiveLink>& primitives);

/// Adds the results of the geometries to their primitives, see ktResultAttributes.h. Where several geometries stand for
/// one primitive, the first one with results counts. Results are laid out like the source vertices; primitives that use
/// different vertices of the same buffers share result buffers.
void ktWriteResults(ktGltfDocument& document, ktGltfStore& store, const std::vector<ktPrimitiveLink>& primitives,
                    const ktShading& shading);
