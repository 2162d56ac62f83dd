// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGltfDocument.h"

#include <string>

// The attributes that hold baked results. Their values are exact. Viewers show COLOR_0.

/// SCALAR float: w of channel 7, the direct result; 1 is open, 0 is occluded.
const char* const ktAttributeOcclusion = "_AO";
/// VEC3 float: x, y, z of channel 7, the indirect light.
const char* const ktAttributeIndirect = "_INDIRECT";
/// VEC4 float: channel 5 unchanged, with the marker of 2 in w.
const char* const ktAttributeBakedLight = "_BAKED_LIGHT";
/// The original COLOR_0; white if there was none.
const char* const ktAttributeSourceColor = "_SOURCE_COLOR_0";

/// Greater values are calculated results.
const float ktLeastResult = 1e-6f;

inline bool ktIsResultAttribute(const std::string& name) {
    return name == ktAttributeOcclusion || name == ktAttributeIndirect || name == ktAttributeBakedLight ||
           name == ktAttributeSourceColor;
}

/// Text in the extras of an accessor with white colours for a primitive that had no COLOR_0.
const char* const ktStandInMark = "no source color";
/// Text in the extras of an accessor with the normals that were calculated for a primitive that had none.
const char* const ktCalculatedNormalsMark = "calculated normals";

/// Whether the accessor of a primitive's attribute has this text in its extras.
inline bool ktHasMark(const ktGltfDocument& document, const ktJson& attributes, const char* attribute,
                      const char* text) {
    const auto index = ktJsonWhole(attributes, attribute);
    const ktJson* accessor =
        index ? ktJsonElement(document.json, "accessors", static_cast<std::size_t>(*index)) : nullptr;
    const ktJson* extras = accessor ? ktJsonMember(*accessor, "extras") : nullptr;
    return extras && ktJsonText(*extras, "ambientOcclusion") == text;
}

/// Whether the primitive had no COLOR_0 before it was baked.
inline bool ktIsStandInColor(const ktGltfDocument& document, const ktJson& attributes) {
    return ktHasMark(document, attributes, ktAttributeSourceColor, ktStandInMark);
}

/// Whether the primitive had no NORMAL before it was baked.
inline bool ktHasCalculatedNormals(const ktGltfDocument& document, const ktJson& attributes) {
    return ktHasMark(document, attributes, "NORMAL", ktCalculatedNormalsMark);
}
