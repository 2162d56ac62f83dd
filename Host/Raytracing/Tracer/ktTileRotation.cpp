// SPDX-License-Identifier: LGPL-2.1-or-later
// Rotates a tile of ray directions to world space: the fastest version for the processor, the same bits on all.
#include "ktTileRotation.h"

namespace {

// One body for all instruction sets: the compiler vectorises it for the function that it is inlined into. No version
// may fuse multiplication and addition, because results must be the same on all machines.
__attribute__((always_inline)) inline void rotate(const ktDirectionTile& tile, const ktRayVertex& vertex,
                                                  float* __restrict x, float* __restrict y, float* __restrict z) {
    const float *t = vertex.tangent, *b = vertex.bitangent, *n = vertex.normal;
    for (std::uint32_t i = 0; i < ktDirectionTile::width; ++i) {
        const float dx = tile.x[i], dy = tile.y[i], dz = tile.z[i];
        x[i] = dx * t[0] + dy * b[0] + dz * n[0];
        y[i] = dx * t[1] + dy * b[1] + dz * n[1];
        z[i] = dx * t[2] + dy * b[2] + dz * n[2];
    }
}

void rotateAnywhere(const ktDirectionTile& tile, const ktRayVertex& vertex, float* x, float* y, float* z) {
    rotate(tile, vertex, x, y, z);
}

#if defined(__x86_64__)
__attribute__((target("avx2,no-fma"))) void rotateAvx2(const ktDirectionTile& tile, const ktRayVertex& vertex, float* x,
                                                       float* y, float* z) {
    rotate(tile, vertex, x, y, z);
}
#endif

} // namespace

ktRotateTile ktChooseRotateTile() {
#if defined(__x86_64__)
    if (__builtin_cpu_supports("avx2"))
        return rotateAvx2;
#endif
    return rotateAnywhere;
}
