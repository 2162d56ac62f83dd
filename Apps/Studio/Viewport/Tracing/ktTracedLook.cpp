// SPDX-License-Identifier: LGPL-2.1-or-later
// Gives the ray tracer the viewport's scene, with the colours of a view mode.
#include "ktTracedLook.h"

#include "ktBakedLight.h"
#include "ktFalseColours.h"
#include "ktPreviewCollect.h"
#include "ktSurfaceColors.h"
#include "ktWorldTransform.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double stripesOfAScene = 60; // along the diagonal

/// The light that a mode shows at each vertex; empty without results.
std::vector<std::array<float, 3>> lightOf(const ktViewUse& use, const ktShownGeometry& geometry, ktViewMode mode) {
    const ktBakedChannels channels = ktFindBakedChannels(geometry.geometry);
    std::vector<std::array<float, 3>> light(std::min<std::size_t>(channels.count, geometry.vertexCount()));
    const bool hasDirect = mode != ktViewMode::IndirectLight;
    const bool isOcclusion = mode == ktViewMode::Occlusion || mode == ktViewMode::FalseColours;
    for (osg::UInt32 i = 0; i < light.size(); ++i)
        for (osg::UInt32 c = 0; c < 3; ++c) {
            const float w = channels.results[i][3];
            const float direct = channels.lamps && !isOcclusion ? channels.lamps[i][c] : w;
            light[i][c] = (hasDirect ? direct : 0) + (isOcclusion ? 0 : channels.results[i][c] * use.perGathered[c]);
        }
    return light;
}

class Painter {
public:
    Painter(ktPreviewScene& traced_, const ktViewScene& scene_, const ktViewLook& look_)
        : traced(traced_), scene(scene_), look(look_) {
        period = std::max(scene.bounds.diagonal() / stripesOfAScene, 1e-9);
    }

    void paint(ktPreviewMesh& mesh, const ktViewUse& use) {
        const ktShownGeometry& geometry = scene.geometries[use.geometry];
        const ktViewMaterial& material = scene.materials[use.material];
        const std::size_t count = mesh.positions.size();
        std::vector<std::array<float, 3>> light = lightOf(use, geometry, look.mode);
        const bool hasResults = light.size() == count;
        light.resize(count, {1, 1, 1});
        ktPreviewMaterial shown = material.look;
        mesh.texCoords.clear();
        if (material.isGroundPlane) {
            const bool isDark = hasResults && look.hasGroundPlanes && look.mode != ktViewMode::IndirectLight &&
                                look.mode != ktViewMode::SurfaceColours;
            for (std::size_t i = 0; i < count; ++i)
                mesh.colors[i] = {0, 0, 0,
                                  isDark ? std::max(0.0f, 1 - (light[i][0] + light[i][1] + light[i][2]) / 3) : 0};
            shown.texture = nullptr;
        } else {
            paintSurface(mesh, use, hasResults, light, shown);
        }
        mesh.light = std::move(light);
        mesh.material = static_cast<std::uint32_t>(traced.materials.size());
        traced.materials.push_back(std::move(shown));
    }

private:
    ktPreviewScene& traced;
    const ktViewScene& scene;
    const ktViewLook& look;
    double period;

    void paintSurface(ktPreviewMesh& mesh, const ktViewUse& use, bool hasResults,
                      std::vector<std::array<float, 3>>& light, ktPreviewMaterial& shown) const {
        const bool isColored = look.mode == ktViewMode::Baked || look.mode == ktViewMode::SurfaceColours;
        ktSurfaceColors colors =
            ktReadSurfaceColors(scene.geometries[use.geometry].geometry, ktMaterialInEffect(use.node));
        for (std::uint32_t i = 0; i < mesh.positions.size(); ++i) {
            const std::array<float, 4> color = colors.vertexColor(i);
            mesh.colors[i] = isColored ? color : std::array<float, 4>{1, 1, 1, color[3]};
        }
        mesh.texCoords = std::move(colors.texCoords);
        if (look.mode == ktViewMode::SurfaceColours) {
            light.assign(light.size(), {1, 1, 1});
        } else if (!hasResults) {
            hatch(mesh, isColored, shown);
        } else if (look.mode == ktViewMode::FalseColours) {
            mesh.texCoords.clear();
            for (auto& value : light) {
                mesh.texCoords.push_back({value[0], 0});
                value = {1, 1, 1};
            }
            shown.texture = [](float u, float) {
                const std::array<float, 3> color = ktFalseColours::at(u);
                return std::array<float, 4>{color[0], color[1], color[2], 1};
            };
        } else if (!isColored && shown.texture) { // only its alpha
            shown.texture = [texture = shown.texture](float u, float v) {
                return std::array<float, 4>{1, 1, 1, texture(u, v)[3]};
            };
        }
    }

    /// Stripes through the scene, over the surface's colour or over grey violet.
    void hatch(ktPreviewMesh& mesh, bool isColored, ktPreviewMaterial& shown) const {
        mesh.texCoords.clear();
        for (std::size_t i = 0; i < mesh.positions.size(); ++i) {
            const auto& p = mesh.positions[i];
            mesh.texCoords.push_back({static_cast<float>((p[0] - double(p[1]) + 0.6 * p[2]) / period), 0});
            if (!isColored)
                mesh.colors[i] = {0.42f, 0.38f, 0.52f, mesh.colors[i][3]};
        }
        shown.texture = [](float u, float) {
            const float brightness = u - std::floor(u) < 0.5f ? 0.55f : 1.0f;
            return std::array<float, 4>{brightness, brightness, brightness, 1};
        };
    }
};

} // namespace

ktPreviewScene ktMakeTracedScene(const ktViewScene& scene) {
    ktPreviewScene traced;
    traced.materials.resize(1);
    for (const ktViewUse& use : scene.uses) {
        const ktShownGeometry& geometry = scene.geometries[use.geometry];
        const ktWorldTransform toWorld(use.toWorld);
        ktPreviewMesh mesh;
        mesh.positions.resize(geometry.vertexCount());
        for (std::size_t i = 0; i < mesh.positions.size(); ++i) {
            toWorld.position(&(*geometry.positions)[3 * i], mesh.positions[i].data());
            for (float& value : mesh.positions[i]) // vertices that no triangle uses
                value = std::abs(value) < 1e18f ? value : 0;
        }
        mesh.indices = *geometry.triangles;
        for (std::size_t i = 0; use.isMirrored && i + 2 < mesh.indices.size(); i += 3)
            std::swap(mesh.indices[i + 1], mesh.indices[i + 2]);
        mesh.normals = ktReadPreviewNormals({use.node, geometry.geometry, use.toWorld});
        mesh.colors.assign(mesh.positions.size(), {1, 1, 1, 1});
        mesh.light.assign(mesh.positions.size(), {1, 1, 1});
        mesh.isFramed = !scene.materials[use.material].isGroundPlane;
        traced.meshes.push_back(std::move(mesh));
    }
    return traced;
}

void ktSetTracedLook(ktPreviewScene& traced, const ktViewScene& scene, const ktViewLook& look) {
    traced.materials.clear();
    Painter painter(traced, scene, look);
    for (std::size_t i = 0; i < traced.meshes.size() && i < scene.uses.size(); ++i)
        painter.paint(traced.meshes[i], scene.uses[i]);
    traced.materials.resize(std::max<std::size_t>(1, traced.materials.size()));
}
