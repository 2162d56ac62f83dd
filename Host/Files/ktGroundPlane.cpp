// SPDX-License-Identifier: LGPL-2.1-or-later
// Adds a ground plane below the scene's geometry, to the glTF document and to the scene graph.
#include "ktGroundPlane.h"

#include "ktFileError.h"
#include "ktFileMessages.h"
#include "ktGltfReferences.h"
#include "ktGltfStore.h"
#include "ktNodeTransform.h"
#include "ktWorldBounds.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace {

struct Grid {
    std::vector<float> positions, normals;
    std::vector<std::uint16_t> indices;
};

/// A grid in the plane of this y, between two corners. The corners and y are in a space with y up, the grid is in the
/// document's space.
Grid makeGrid(const osg::Pnt3f& low, const osg::Pnt3f& high, float y, ktUpAxis up) {
    Grid grid;
    const auto append = [up](std::vector<float>& values, std::array<float, 3> vector) {
        ktTurnBack(up, vector.data());
        values.insert(values.end(), vector.begin(), vector.end());
    };
    const int n = ktGroundPlaneSquares;
    for (int row = 0; row <= n; ++row)
        for (int column = 0; column <= n; ++column) {
            const float u = static_cast<float>(column) / n, v = static_cast<float>(row) / n;
            append(grid.positions, {low[0] + u * (high[0] - low[0]), y, low[2] + v * (high[2] - low[2])});
            append(grid.normals, {0.0f, 1.0f, 0.0f});
        }
    for (int row = 0; row < n; ++row)
        for (int column = 0; column < n; ++column) {
            const auto a = static_cast<std::uint16_t>(row * (n + 1) + column);
            const auto b = static_cast<std::uint16_t>(a + n + 1);
            for (const int corner : {int(a), int(b), b + 1, int(a), b + 1, a + 1})
                grid.indices.push_back(static_cast<std::uint16_t>(corner));
        }
    return grid;
}

std::size_t addMaterial(ktJson& json) {
    const ktJson surface = {
        {"baseColorFactor", {0.0, 0.0, 0.0, 1.0}}, {"metallicFactor", 0.0}, {"roughnessFactor", 1.0}};
    ktJson& materials = ktJsonArray(json, "materials");
    materials.push_back({{"name", "ground plane"},
                         {"pbrMetallicRoughness", surface},
                         {"alphaMode", "BLEND"},
                         {"extensions", {{"KHR_materials_unlit", ktJson::object()}}}});
    const std::size_t index = materials.size() - 1;
    ktJson& used = ktJsonArray(json, "extensionsUsed");
    if (std::find(used.begin(), used.end(), "KHR_materials_unlit") == used.end())
        used.push_back("KHR_materials_unlit");
    return index;
}

std::size_t addNode(ktGltfDocument& document, const Grid& grid, const ktNodeTree& tree) {
    ktGltfStore store(document);
    const auto vectors = [&](const std::vector<float>& values, bool limits) {
        ktGltfNewAccessor accessor;
        accessor.view = store.addView(values.data(), values.size() * sizeof(float), 0, ktVertexTarget);
        accessor.byteOffset = 0;
        accessor.count = values.size() / 3;
        accessor.type = "VEC3";
        if (limits) {
            // Opposite corners of the grid.
            for (std::size_t first = 0, last = values.size() - 3; first < 3; ++first, ++last) {
                accessor.min.push_back(std::min(values[first], values[last]));
                accessor.max.push_back(std::max(values[first], values[last]));
            }
        }
        return store.addAccessor(accessor);
    };
    const std::size_t positions = vectors(grid.positions, true);
    const std::size_t normals = vectors(grid.normals, false);
    ktGltfNewAccessor triangles;
    triangles.view = store.addView(grid.indices.data(), grid.indices.size() * sizeof grid.indices[0], 0, ktIndexTarget);
    triangles.byteOffset = 0;
    triangles.count = grid.indices.size();
    triangles.component = ktComponent::UnsignedShort;
    const std::size_t indices = store.addAccessor(triangles);
    store.finish();

    for (const char* collection : {"materials", "meshes", "nodes"})
        ktParkDanglingReferences(document.json, collection);
    const ktJson primitive = {{"attributes", {{"POSITION", positions}, {"NORMAL", normals}}},
                              {"indices", indices},
                              {"material", addMaterial(document.json)}};
    ktJson& meshes = ktJsonArray(document.json, "meshes");
    meshes.push_back({{"name", "ground plane"}, {"primitives", ktJson::array({primitive})}});
    const std::size_t mesh = meshes.size() - 1;
    ktJson& nodes = ktJsonArray(document.json, "nodes");
    nodes.push_back({{"name", "ground plane"}, {"mesh", mesh}, {"extras", {{"ambientOcclusionGroundPlane", true}}}});
    const std::size_t node = nodes.size() - 1;
    if (tree.scene)
        ktJsonArray(document.json["scenes"][*tree.scene], "nodes").push_back(node);
    return node;
}

/// The inverse in double precision, which not every scene graph has; the identity if there is none.
osg::Matrix inverseOf(const osg::Matrix& matrix) {
    ktMatrix values = ktIdentity, inverse = ktIdentity;
    std::copy_n(matrix.getValues(), values.size(), values.begin());
    ktInvert(values, inverse);
    return ktToOSG(inverse);
}

} // namespace

osg::NodePtr ktAddGroundPlane(ktGltfDocument& document, const ktNodeTree& tree, ktGltfScene& scene, ktUpAxis up,
                              ktFileMessages& messages) {
    for (const ktNodeLink& link : scene.nodes)
        if (ktIsGroundPlaneNode(*ktJsonElement(document.json, "nodes", link.node)))
            return link.shown;
    // In the document's space, below the root's transform, but with y up.
    ktWorldBounds bounds;
    const osg::Matrix toDocument = inverseOf(scene.root->getToWorld());
    ktForEachGeometryInstance(scene.root, ktInstances::Visible, [&](const ktGeometryInstance& instance) {
        osg::Matrix toRoot = toDocument;
        toRoot.mult(instance.toWorld);
        const osg::GeoPositionsPtr positions = instance.geometry->getPositions();
        for (osg::UInt32 i = 0; i < positions->size(); ++i) {
            osg::Pnt3f point;
            toRoot.mult(positions->getValue(i), point);
            ktTurnUp(up, point.getValues());
            if (std::isfinite(point[0]) && std::isfinite(point[1]) && std::isfinite(point[2]))
                bounds.extend(point);
        }
        return true;
    });
    const double diagonal = bounds.diagonal();
    if (!(diagonal > 0.0) || !std::isfinite(diagonal)) {
        messages.warn("file", "has no extent, so it gets no ground plane");
        return osg::NullFC;
    }
    // Space for the shadow to fade out, and a small gap below surfaces that touch the ground.
    const float margin = std::max(bounds.max[1] - bounds.min[1], 0.25f * static_cast<float>(diagonal));
    for (const osg::UInt32 axis : {0u, 2u}) {
        bounds.min[axis] -= margin;
        bounds.max[axis] += margin;
    }
    const float y = bounds.min[1] - 1e-4f * static_cast<float>(diagonal);
    try {
        const std::size_t node = addNode(document, makeGrid(bounds.min, bounds.max, y, up), tree);
        ktExtendScene(scene, document, node, messages);
        return scene.nodes.back().shown;
    } catch (const ktFileError& error) {
        messages.warn(error.object(), "the ground plane cannot be added: " + error.reason());
        return osg::NullFC;
    }
}
