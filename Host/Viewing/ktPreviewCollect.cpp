// SPDX-License-Identifier: LGPL-2.1-or-later
// Collects visible triangles, materials and baked light of the scene graph for the preview.
#include "ktPreviewCollect.h"

#include "ktBakedLight.h"
#include "ktGeometryInstances.h"
#include "ktPreviewMaterial.h"
#include "ktSurfaceColors.h"
#include "OSGUShadowMaterial.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <OpenSG/OSGGeometry.h>
#include <OpenSG/OSGTriangleIterator.h>

namespace {

class Collector {
public:
    ktPreviewScene scene;

    void add(const ktGeometryInstance& instance) {
        const osg::GeometryPtr& geometry = instance.geometry;
        const osg::GeoPositions3fPtr positions = osg::GeoPositions3fPtr::dcast(geometry->getPositions());
        const osg::MaterialPtr material = ktMaterialInEffect(instance.node);
        if (positions == osg::NullFC || ktIsEnvironment(material))
            return;
        ktPreviewMesh mesh;
        addPositions(mesh, instance, *positions);
        addTriangles(mesh, instance);
        if (mesh.indices.empty())
            return;
        mesh.normals = ktReadPreviewNormals(instance);
        mesh.light = ktReadBakedLight(instance.node, geometry);
        if (mesh.light.empty())
            mesh.light.assign(mesh.positions.size(), {1, 1, 1});
        if (osg::UShadowMaterialPtr::dcast(material) != osg::NullFC)
            makeShadowPlane(mesh);
        else
            addSurface(mesh, geometry, material);
        scene.meshes.push_back(std::move(mesh));
    }

private:
    std::map<osg::UInt32, std::uint32_t> materialIndices; // by container id; 0 for no material
    std::vector<char> isUsable;                           // vertices of the current mesh: finite in world space

    void addPositions(ktPreviewMesh& mesh, const ktGeometryInstance& instance, const osg::GeoPositions3f& positions) {
        isUsable.assign(positions.getSize(), 1);
        for (osg::UInt32 i = 0; i < positions.getSize(); ++i) {
            osg::Pnt3f world;
            instance.toWorld.multMatrixPnt(positions.getField()[i], world);
            if (!std::isfinite(world[0]) || !std::isfinite(world[1]) || !std::isfinite(world[2])) {
                world = osg::Pnt3f(0, 0, 0);
                isUsable[i] = 0;
            }
            mesh.positions.push_back({world[0], world[1], world[2]});
        }
    }

    void addTriangles(ktPreviewMesh& mesh, const ktGeometryInstance& instance) const {
        const bool isMirrored = instance.toWorld.det3() < 0;
        for (osg::TriangleIterator triangle = instance.geometry->beginTriangles(); !triangle.isAtEnd(); ++triangle) {
            std::uint32_t corners[3];
            bool isWhole = true;
            for (int corner = 0; corner < 3; ++corner) {
                const osg::Int32 index = triangle.getPositionIndex(corner);
                isWhole = isWhole && index >= 0 && static_cast<size_t>(index) < isUsable.size() &&
                          isUsable[static_cast<size_t>(index)];
                corners[corner] = static_cast<std::uint32_t>(index);
            }
            if (!isWhole)
                continue;
            if (isMirrored)
                std::swap(corners[1], corners[2]);
            mesh.indices.insert(mesh.indices.end(), corners, corners + 3);
        }
    }

    /// A ground plane is black and as opaque as its shadow is dark.
    void makeShadowPlane(ktPreviewMesh& mesh) {
        mesh.isFramed = false;
        for (const auto& light : mesh.light)
            mesh.colors.push_back({0, 0, 0, std::max(0.0f, 1 - (light[0] + light[1] + light[2]) / 3)});
        mesh.light.assign(mesh.positions.size(), {1, 1, 1});
        ktPreviewMaterial material;
        material.alpha = ktPreviewMaterial::Alpha::Blend;
        mesh.material = static_cast<std::uint32_t>(scene.materials.size());
        scene.materials.push_back(material);
    }

    void addSurface(ktPreviewMesh& mesh, const osg::GeometryPtr& geometry, const osg::MaterialPtr& material) {
        ktSurfaceColors colors = ktReadSurfaceColors(geometry, material);
        for (std::uint32_t i = 0; i < mesh.positions.size(); ++i)
            mesh.colors.push_back(colors.vertexColor(i));
        mesh.texCoords = std::move(colors.texCoords);
        mesh.material = materialIndex(material);
    }

    std::uint32_t materialIndex(const osg::MaterialPtr& material) {
        const osg::UInt32 id = material == osg::NullFC ? 0 : material.getFieldContainerId();
        const auto [entry, isNew] = materialIndices.emplace(id, static_cast<std::uint32_t>(scene.materials.size()));
        if (!isNew)
            return entry->second;
        scene.materials.push_back(ktReadPreviewMaterial(material));
        return entry->second;
    }
};

} // namespace

std::vector<std::array<float, 3>> ktReadPreviewNormals(const ktGeometryInstance& instance) {
    std::vector<std::array<float, 3>> result;
    const osg::GeoNormals3fPtr normals = osg::GeoNormals3fPtr::dcast(instance.geometry->getNormals());
    if (normals == osg::NullFC || normals->getSize() != instance.geometry->getPositions()->size())
        return result;
    // Normals go to world space with the cofactors of the matrix. Their length and side do not matter.
    const osg::Matrix& m = instance.toWorld;
    const osg::Vec3f x(m[0][0], m[0][1], m[0][2]), y(m[1][0], m[1][1], m[1][2]), z(m[2][0], m[2][1], m[2][2]);
    const osg::Vec3f yz = y.cross(z), zx = z.cross(x), xy = x.cross(y);
    result.reserve(normals->getSize());
    for (const osg::Vec3f& normal : normals->getField()) {
        const osg::Vec3f world = yz * normal[0] + zx * normal[1] + xy * normal[2];
        result.push_back({world[0], world[1], world[2]});
    }
    return result;
}

ktPreviewScene ktCollectPreview(const osg::NodePtr& root, const std::function<bool()>& isInterrupted) {
    Collector collector;
    ktForEachGeometryInstance(root, ktInstances::Visible, [&](const ktGeometryInstance& instance) {
        collector.add(instance);
        return !isInterrupted();
    });
    return std::move(collector.scene);
}
