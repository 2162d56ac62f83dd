// SPDX-License-Identifier: LGPL-2.1-or-later
// Keeps refinement from splitting edges that other geometry shares.
#include "ktSharedEdges.h"

#include "ktCancelPoint.h"

#include <algorithm>

namespace {

constexpr double weldShare = 1.0e-6; // weld distance, as a fraction of the scene's diagonal
constexpr std::size_t cancelInterval = 1024;

} // namespace

double ktWeldDistance(const ktTracedScene& scene) {
    return weldShare * std::max(scene.diagonal, 1e-30f);
}

void ktLockSharedEdges(ktConformingRefiner& refiner, const ktTracedScene& scene,
                       const std::set<ktGeometryNumber>& inside) {
    for (const ktTracedGeometry& other : scene.geometries) {
        if (inside.count(other.number))
            continue;
        const std::vector<std::uint32_t>& corners = *other.triangles;
        const auto point = [&other](std::uint32_t corner) {
            const float* p = &(*other.positions)[3 * std::size_t(corner)];
            return ktConformingRefiner::Point{p[0], p[1], p[2]};
        };
        for (std::size_t i = 0; i + 2 < corners.size(); i += 3) {
            if (i % cancelInterval == 0)
                ktThrowIfCanceled();
            for (std::size_t c = 0; c < 3; ++c)
                refiner.lockEdge(point(corners[i + c]), point(corners[i + (c + 1) % 3]));
        }
    }
}
