// SPDX-License-Identifier: LGPL-2.1-or-later
// Rejects glTF documents that require an extension without which geometry or placement would be wrong.
#include "ktGltfExtensions.h"

#include "ktFileError.h"

#include <algorithm>

namespace {

// Supported, or without influence on the light.
const char* const known[] = {
    "KHR_lights_punctual",     "KHR_mesh_quantization",
    "KHR_texture_transform",   "KHR_node_visibility",
    "KHR_animation_pointer",   "KHR_xmp",
    "KHR_xmp_json_ld",         "EXT_lights_image_based",
    "EXT_mesh_gpu_instancing", "KHR_draco_mesh_compression",
    "EXT_meshopt_compression", "KHR_meshopt_compression",
};

// Images in other formats. Their colours are missing; whoever needs them warns.
const char* const images[] = {"KHR_texture_basisu", "EXT_texture_webp", "EXT_texture_avif", "MSFT_texture_dds"};

bool isKnown(const std::string& name) {
    const auto equal = [&](const char* entry) { return name == entry; };
    return std::any_of(std::begin(known), std::end(known), equal) ||
           std::any_of(std::begin(images), std::end(images), equal) || name.compare(0, 14, "KHR_materials_") == 0;
}

} // namespace

void ktCheckRequiredExtensions(const ktJson& document) {
    for (std::size_t i = 0; i < ktJsonCount(document, "extensionsRequired"); ++i) {
        const ktJson& name = *ktJsonElement(document, "extensionsRequired", i);
        if (name.is_string() && !isKnown(name.get<std::string>()))
            throw ktFileError(ktPointer("extensionsRequired", i),
                              "requires the extension " + name.get<std::string>() + ", which is not supported");
    }
}
