// SPDX-License-Identifier: LGPL-2.1-or-later
// Chooses what a picture draws: culls by the view, chooses levels, sorts transparent surfaces.
#include "ktDrawList.h"

#include "ktViewFrustum.h"

#include <algorithm>
#include <cmath>
#include <tuple>

namespace {

struct Chosen {
    std::uint32_t use, level;
    double depth; // of the middle, along the view
    double size;  // on the screen, in about pixels
    std::size_t triangles;
};

class Builder {
public:
    Builder(const ktViewScene& scene_, const ktViewCamera& camera_, const ktDrawChoice& choice_,
            const std::vector<std::vector<ktLevelSize>>& levels_)
        : scene(scene_), camera(camera_), choice(choice_), levels(levels_) {}

    ktDrawList build() {
        const ktViewFrustum frustum(camera, choice.aspect);
        std::vector<Chosen> opaque, blended;
        for (std::uint32_t i = 0; i < scene.uses.size(); ++i) {
            const ktViewUse& use = scene.uses[i];
            const ktViewMaterial& material = scene.materials[use.material];
            if ((material.isGroundPlane && !choice.withGroundPlanes) || (choice.onlySelected && !use.isSelected) ||
                !frustum.touches(use.bounds))
                continue;
            Chosen chosen = {i, 0, depthOf(use), 0, 0};
            if (!chooseLevel(use, chosen))
                continue;
            chosen.triangles = trianglesOf(use, chosen.level);
            (material.look.alpha == ktPreviewMaterial::Alpha::Blend ? blended : opaque).push_back(chosen);
        }
        limit(opaque, blended);
        // Uses of one geometry are neighbours already; only their levels differ.
        const auto isBefore = [this](const Chosen& a, const Chosen& b) {
            const ktViewUse &u = scene.uses[a.use], &v = scene.uses[b.use];
            return std::tie(u.material, u.geometry, u.isMirrored, a.level) <
                   std::tie(v.material, v.geometry, v.isMirrored, b.level);
        };
        if (!std::is_sorted(opaque.begin(), opaque.end(), isBefore))
            std::stable_sort(opaque.begin(), opaque.end(), isBefore);
        std::stable_sort(blended.begin(), blended.end(),
                         [](const Chosen& a, const Chosen& b) { return a.depth > b.depth; });
        for (const Chosen& chosen : opaque)
            append(chosen);
        list.opaqueBatches = list.batches.size();
        for (const Chosen& chosen : blended)
            append(chosen);
        return std::move(list);
    }

private:
    const ktViewScene& scene;
    const ktViewCamera& camera;
    const ktDrawChoice& choice;
    const std::vector<std::vector<ktLevelSize>>& levels;
    ktDrawList list;

    double depthOf(const ktViewUse& use) const {
        const ktViewCamera::Vector centre = use.bounds.centre(), eye = camera.eye(), &forward = camera.forward();
        return (centre[0] - eye[0]) * forward[0] + (centre[1] - eye[1]) * forward[1] +
               (centre[2] - eye[2]) * forward[2];
    }

    /// Returns false if the use is too small to draw.
    bool chooseLevel(const ktViewUse& use, Chosen& chosen) const {
        const double worldDiagonal = use.bounds.diagonal();
        const double halfHeight = camera.isParallel()
                                      ? camera.halfHeight()
                                      : camera.halfHeight() / camera.distance() *
                                            std::max(chosen.depth - worldDiagonal / 2, 1e-9); // at its nearest point
        const double pixelSize = 2 * halfHeight / choice.height_px;
        chosen.size = worldDiagonal / pixelSize;
        if (chosen.size < 0.5 * choice.detail_px)
            return false;
        const ktShownGeometry& geometry = scene.geometries[use.geometry];
        const double objectDiagonal = geometry.bounds.diagonal();
        if (choice.detail_px <= 0 || use.geometry >= levels.size() || !(objectDiagonal > 0))
            return true;
        const double scale = worldDiagonal / objectDiagonal;
        const std::vector<ktLevelSize>& sizes = levels[use.geometry];
        while (chosen.level < sizes.size() && sizes[chosen.level].cellSize * scale <= choice.detail_px * pixelSize)
            ++chosen.level;
        return true;
    }

    std::size_t trianglesOf(const ktViewUse& use, std::uint32_t level) const {
        return level == 0 ? scene.geometries[use.geometry].triangleCount() : levels[use.geometry][level - 1].triangles;
    }

    /// Keeps the largest uses, within choice.mostTriangles.
    void limit(std::vector<Chosen>& opaque, std::vector<Chosen>& blended) const {
        std::vector<Chosen*> all;
        std::size_t triangles = 0;
        for (std::vector<Chosen>* chosen : {&opaque, &blended})
            for (Chosen& one : *chosen) {
                all.push_back(&one);
                triangles += one.triangles;
            }
        if (choice.mostTriangles == 0 || triangles <= choice.mostTriangles)
            return;
        std::stable_sort(all.begin(), all.end(), [](const Chosen* a, const Chosen* b) { return a->size > b->size; });
        std::size_t left = choice.mostTriangles;
        for (Chosen* one : all) {
            one->triangles = std::min(one->triangles, left);
            left -= one->triangles;
        }
        for (std::vector<Chosen>* chosen : {&opaque, &blended})
            chosen->erase(
                std::remove_if(chosen->begin(), chosen->end(), [](const Chosen& one) { return one.triangles == 0; }),
                chosen->end());
    }

    void append(const Chosen& chosen) {
        const ktViewUse& use = scene.uses[chosen.use];
        ktDrawBatch* last = list.batches.size() > list.opaqueBatches ? &list.batches.back() : nullptr;
        if (!last || last->geometry != use.geometry || last->material != use.material || last->level != chosen.level ||
            last->isMirrored != use.isMirrored || last->triangles != chosen.triangles) {
            ktDrawBatch batch;
            batch.geometry = use.geometry, batch.material = use.material, batch.level = chosen.level;
            batch.isMirrored = use.isMirrored;
            batch.first = static_cast<std::uint32_t>(list.uses.size());
            batch.triangles = chosen.triangles;
            list.batches.push_back(batch);
            last = &list.batches.back();
        }
        ++last->count;
        list.uses.push_back(chosen.use);
        list.triangles += last->triangles;
    }
};

} // namespace

ktDrawList ktMakeDrawList(const ktViewScene& scene, const ktViewCamera& camera, const ktDrawChoice& choice,
                          const std::vector<std::vector<ktLevelSize>>& levels) {
    return Builder(scene, camera, choice, levels).build();
}
