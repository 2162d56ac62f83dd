// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGltfDocument.h"

/// What the file says about COLOR_0, in asset.extras: {"ambientOcclusion": {"COLOR_0": "light"}}. Some tools drop all
/// attributes that begin with an underscore, but keep COLOR_0 and this. Without it, light would be taken for colours.
enum class ktLightMark {
    None,          ///< nothing
    Light,         ///< COLOR_0 is baked light wherever _SOURCE_COLOR_0 is missing or white
    LightAndColors ///< some colours are the file's own, or were multiplied with light
};

ktLightMark ktReadLightMark(const ktGltfDocument& document);
/// Whether a primitive of the document has attributes of a bake.
bool ktHasResultAttributes(const ktGltfDocument& document);
/// Makes the mark tell what the primitives hold now. Call after their colours are written.
void ktWriteLightMark(ktGltfDocument& document);
