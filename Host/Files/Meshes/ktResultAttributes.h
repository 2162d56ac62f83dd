// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGltfDocument.h"

#include <string>

// The attributes that carry what was baked. Their values are exact; COLOR_0 is what viewers show.

/// SCALAR float: w of channel 7, the direct result, 1 open, 0 occluded.
const char* const ktAttributeOcclusion = "_AO";
/// VEC3 float: x, y, z of channel 7, the indirect light.
const char* const ktAttributeIndirect = "_INDIRECT";
/// VEC4 float: channel 5 as it is, the marker of 2 in w included.
const char* const ktAttributeBakedLight = "_BAKED_LIGHT";
/// The colours that came in as COLOR_0; white where there were none.
const char* const ktAttributeSourceColor = "_SOURCE_COLOR_0";

/// Results above this were calculated.
const float ktLeastResult = 1e-6f;

inline bool ktIsResultAttribute(const std::string& name) {
    return name == ktAttributeOcclusion || name == ktAttributeIndirect || name == ktAttributeBakedLight ||
           name == ktAttributeSourceColor;
}

/// What the extras of an accessor hold that only stands in for colours that did not come in.
const char* const ktStandInMark = "no source color";

/// Whether a primitive's _SOURCE_COLOR_0 only stands in: nothing came in as COLOR_0.
inline bool ktIsStandInColor(const ktGltfDocument& document, const ktJson& attributes) {
    const auto index = ktJsonWhole(attributes, ktAttributeSourceColor);
    const ktJson* accessor =
        index ? ktJsonElement(document.json, "accessors", static_cast<std::size_t>(*index)) : nullptr;
    const ktJson* extras = accessor ? ktJsonMember(*accessor, "extras") : nullptr;
    return extras && ktJsonText(*extras, "ambientOcclusion") == ktStandInMark;
}
