// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <vector>

/// A material of the preview.
struct ktPreviewMaterial {
    enum class Alpha { Opaque, Mask, Blend };

    /// Linear red, green, blue and alpha of the texture at a texture coordinate. Empty: no texture.
    using Texture = std::function<std::array<float, 4>(float u, float v)>;

    Texture texture;
    Alpha alpha = Alpha::Opaque;
    float alphaCutoff = 0.5f;  ///< with Mask: a smaller alpha is a hole
    bool isDoubleSided = true; ///< false: the back is invisible
};

/// A mesh of the preview, in world space. Vertex lists have one element per vertex, or may be empty if noted.
struct ktPreviewMesh {
    std::vector<std::array<float, 3>> positions; ///< finite
    std::vector<std::uint32_t> indices;          ///< three per triangle, counter-clockwise seen from the front
    std::vector<std::array<float, 4>> colors;    ///< linear base colour and alpha without the texture; never empty
    std::vector<std::array<float, 3>> light;     ///< linear incoming light; 1 is a surface in the open
    std::vector<std::array<float, 2>> texCoords; ///< empty: (0, 0) everywhere
    std::vector<std::array<float, 3>> normals;   ///< of any length above 0; empty: those of the triangles
    std::uint32_t material = 0;                  ///< index into ktPreviewScene::materials
    bool isFramed = true;                        ///< false: ignored by the camera, as a ground plane is
};

/// The content of the preview.
struct ktPreviewScene {
    std::vector<ktPreviewMesh> meshes;
    std::vector<ktPreviewMaterial> materials;
    std::array<float, 3> up = {0, 1, 0}; ///< the y axis or the z axis
};
