// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <vector>

/// How a surface looks in the preview.
struct ktPreviewMaterial {
    enum class Alpha { Opaque, Mask, Blend };

    /// Linear red, green, blue and alpha of the texture at a texture coordinate; empty: no texture.
    using Texture = std::function<std::array<float, 4>(float u, float v)>;

    Texture texture;
    Alpha alpha = Alpha::Opaque;
    float alphaCutoff = 0.5f;  ///< with Mask: less is a hole
    bool isDoubleSided = true; ///< false: the back is not seen
};

/// One mesh of the preview, in world space. All vertex lists have one element a vertex, or are empty where said.
struct ktPreviewMesh {
    std::vector<std::array<float, 3>> positions; ///< finite
    std::vector<std::uint32_t> indices;          ///< three per triangle, counter-clockwise seen from the front
    std::vector<std::array<float, 4>> colors;    ///< linear base colour and alpha, the texture apart; never empty
    std::vector<std::array<float, 3>> light;     ///< linear light that arrives; 1 is a white surface in the open
    std::vector<std::array<float, 2>> texCoords; ///< empty: (0, 0) everywhere
    std::uint32_t material = 0;                  ///< index into ktPreviewScene::materials
    bool isFramed = true;                        ///< false: the camera does not care, as for a ground plane
};

/// What the preview shows.
struct ktPreviewScene {
    std::vector<ktPreviewMesh> meshes;
    std::vector<ktPreviewMaterial> materials;
    std::array<float, 3> up = {0, 1, 0}; ///< the y or the z axis
};
