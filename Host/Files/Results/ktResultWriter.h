// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGltfDocument.h"
#include "ktPrimitiveLink.h"

class ktFileMessages;
class ktGltfStore;

/// How viewers show the baked light.
struct ktShading {
    bool multiply = true;  ///< multiply it into COLOR_0; else write only the exact results
    float exposure = 1.0f; ///< factor on the multiplied light
    float strength = 1.0f; ///< power of the multiplied light where it is below 1, after the exposure
};

/// Removes from the document what earlier bakes added to these primitives; refined geometry stays refined. The next
/// ktGltfStore removes the data.
void ktRemoveResults(ktGltfDocument& document, const std::vector<ktPrimitiveLink>& primitives);

/// The geometry of each primitive that is written, in the order of the primitives: if it has several, the first one
/// with results, else the first.
std::vector<const ktPrimitiveLink*> ktChooseGeometries(const std::vector<ktPrimitiveLink>& primitives);

/// Adds the results of the chosen geometries to their primitives, see ktResultAttributes.h; and the calculated normals,
/// if viewers need them. Refined and split primitives must have been written before. Results are in the order of the
/// source vertices. Primitives that use different vertices of the same buffers share result buffers.
void ktWriteResults(ktGltfDocument& document, ktGltfStore& store, const std::vector<ktPrimitiveLink>& primitives,
                    const ktShading& shading);
