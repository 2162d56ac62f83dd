// SPDX-License-Identifier: LGPL-2.1-or-later
#include "ktPreviewCollect.h"

#include "ktGeometryInstances.h"
#include "ktTextureSample.h"
#include "OSGUberMaterial.h"
#include "OSGUEnvironmentMaterial.h"
#include "OSGUEnvironmentSwitchMaterial.h"
#include "OSGUShadowMaterial.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <OpenSG/OSGGeometry.h>
#include <OpenSG/OSGMaterialGroup.h>
#include <OpenSG/OSGSimpleMaterial.h>
#include <OpenSG/OSGTriangleIterator.h>

namespace {

constexpr float noResult = 1e-6f; // a value up to this was never calculated

/// The material in effect: that of the nearest material group from the node upwards, else the geometry's own.
osg::MaterialPtr materialOf(const ktGeometryInstance& instance) {
    for (osg::NodePtr node = instance.node; node != osg::NullFC; node = node->getParent()) {
        const osg::MaterialGroupPtr group = osg::MaterialGroupPtr::dcast(node->getCore());
        if (group != osg::NullFC && group->getMaterial() != osg::NullFC)
            return group->getMaterial();
    }
    return instance.geometry->getMaterial();
}

std::array<float, 4> vertexColor(const osg::GeoColorsPtr& colors, osg::UInt32 vertex) {
    if (const osg::GeoColors4fPtr four = osg::GeoColors4fPtr::dcast(colors);
        four != osg::NullFC && vertex < four->getSize()) {
        const osg::Color4f& color = four->getField()[vertex];
        return {color[0], color[1], color[2], color[3]};
    }
    if (const osg::GeoColors3fPtr three = osg::GeoColors3fPtr::dcast(colors);
        three != osg::NullFC && vertex < three->getSize()) {
        const osg::Color3f& color = three->getField()[vertex];
        return {color[0], color[1], color[2], 1};
    }
    return {1, 1, 1, 1};
}

osg::GeoTexCoordsPtr texCoordsOf(const osg::GeometryPtr& geometry, int channel) {
    switch (channel) {
    case 0:
        return geometry->getTexCoords();
    case 1:
        return geometry->getTexCoords1();
    case 2:
        return geometry->getTexCoords2();
    case 3:
        return geometry->getTexCoords3();
    case 4:
        return geometry->getTexCoords4();
    case 6:
        return geometry->getTexCoords6();
    default:
        return osg::NullFC; // 5 and 7 hold results
    }
}

/// A result channel with one element a vertex; null when there is none.
osg::GeoTexCoords4fPtr results(const osg::GeoTexCoordsPtr& channel, osg::UInt32 count) {
    const osg::GeoTexCoords4fPtr values = osg::GeoTexCoords4fPtr::dcast(channel);
    return values != osg::NullFC && values->getSize() >= count ? values : osg::GeoTexCoords4fPtr(osg::NullFC);
}

class Collector {
public:
    ktPreviewScene scene;

    void add(const ktGeometryInstance& instance) {
        const osg::GeometryPtr& geometry = instance.geometry;
        const osg::GeoPositions3fPtr positions = osg::GeoPositions3fPtr::dcast(geometry->getPositions());
        const osg::MaterialPtr material = materialOf(instance);
        if (positions == osg::NullFC || osg::UEnvironmentMaterialPtr::dcast(material) != osg::NullFC ||
            osg::UEnvironmentSwitchMaterialPtr::dcast(material) != osg::NullFC)
            return;
        ktPreviewMesh mesh;
        addPositions(mesh, instance, *positions);
        addTriangles(mesh, instance);
        if (mesh.indices.empty())
            return;
        addLight(mesh, geometry);
        if (osg::UShadowMaterialPtr::dcast(material) != osg::NullFC)
            makeShadowPlane(mesh);
        else
            addSurface(mesh, geometry, material);
        scene.meshes.push_back(std::move(mesh));
    }

private:
    std::map<osg::UInt32, std::uint32_t> materialIndices; // by container id; 0 for none
    std::vector<char> isUsable;                           // vertices of the mesh under way: finite in world space

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
        for (osg::TriangleIterator triangle = instance.geometry->beginTriangles();
             triangle != instance.geometry->endTriangles(); ++triangle) {
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

    static void addLight(ktPreviewMesh& mesh, const osg::GeometryPtr& geometry) {
        const auto count = static_cast<osg::UInt32>(mesh.positions.size());
        const osg::GeoTexCoords4fPtr shadows = results(geometry->getTexCoords7(), count);
        const osg::GeoTexCoords4fPtr lights = results(geometry->getTexCoords5(), count);
        const auto hasResult = [&] {
            for (osg::UInt32 i = 0; i < count; ++i)
                if (shadows->getField()[i][3] > noResult)
                    return true;
            return false;
        };
        if (shadows == osg::NullFC || !hasResult()) {
            mesh.light.assign(count, {1, 1, 1});
            return;
        }
        for (osg::UInt32 i = 0; i < count; ++i) {
            const osg::Vec4f& shadow = shadows->getField()[i];
            std::array<float, 3> light;
            for (osg::UInt32 channel = 0; channel < 3; ++channel)
                light[channel] = lights != osg::NullFC ? lights->getField()[i][channel] : shadow[3];
            mesh.light.push_back(light);
        }
    }

    /// A ground plane is black and there where it is in shadow.
    void makeShadowPlane(ktPreviewMesh& mesh) {
        mesh.isFramed = false;
        for (const auto& light : mesh.light)
            mesh.colors.push_back({0, 0, 0, 1 - (light[0] + light[1] + light[2]) / 3});
        mesh.light.assign(mesh.positions.size(), {1, 1, 1});
        ktPreviewMaterial material;
        material.alpha = ktPreviewMaterial::Alpha::Blend;
        mesh.material = static_cast<std::uint32_t>(scene.materials.size());
        scene.materials.push_back(material);
    }

    void addSurface(ktPreviewMesh& mesh, const osg::GeometryPtr& geometry, const osg::MaterialPtr& material) {
        const osg::UberMaterialPtr uber = osg::UberMaterialPtr::dcast(material);
        std::array<float, 4> base = {1, 1, 1, 1};
        if (uber != osg::NullFC)
            base = {uber->getColor()[0], uber->getColor()[1], uber->getColor()[2],
                    uber->getAlpha() * (1 - uber->getTransmission())};
        else if (const osg::SimpleMaterialPtr simple = osg::SimpleMaterialPtr::dcast(material); simple != osg::NullFC)
            base = {simple->getDiffuse()[0], simple->getDiffuse()[1], simple->getDiffuse()[2],
                    1 - simple->getTransparency()};
        const bool hasVertexColors = uber == osg::NullFC || uber->getVertexColors();
        for (osg::UInt32 i = 0; i < mesh.positions.size(); ++i) {
            std::array<float, 4> color =
                hasVertexColors ? vertexColor(geometry->getColors(), i) : std::array<float, 4>{1, 1, 1, 1};
            for (size_t channel = 0; channel < 4; ++channel)
                color[channel] *= base[channel];
            mesh.colors.push_back(color);
        }
        if (uber != osg::NullFC && uber->getTexture().image) {
            const osg::GeoTexCoords2fPtr texCoords =
                osg::GeoTexCoords2fPtr::dcast(texCoordsOf(geometry, uber->getTexture().texCoords));
            if (texCoords != osg::NullFC && texCoords->getSize() >= mesh.positions.size())
                for (size_t i = 0; i < mesh.positions.size(); ++i) {
                    const osg::Vec2f& texCoord = texCoords->getField()[static_cast<osg::UInt32>(i)];
                    mesh.texCoords.push_back({texCoord[0], texCoord[1]});
                }
        }
        mesh.material = materialIndex(material, uber);
    }

    std::uint32_t materialIndex(const osg::MaterialPtr& material, const osg::UberMaterialPtr& uber) {
        const osg::UInt32 id = material == osg::NullFC ? 0 : material.getFieldContainerId();
        const auto [entry, isNew] = materialIndices.emplace(id, static_cast<std::uint32_t>(scene.materials.size()));
        if (!isNew)
            return entry->second;
        ktPreviewMaterial look;
        if (uber != osg::NullFC) {
            look.isDoubleSided = uber->getDoubleSided();
            look.alphaCutoff = uber->getAlphaCutoff();
            if (uber->isTransparent())
                look.alpha = ktPreviewMaterial::Alpha::Blend;
            else if (uber->getAlphaMode() == osg::UberMaterial::Mask)
                look.alpha = ktPreviewMaterial::Alpha::Mask;
            if (uber->getTexture().image)
                look.texture = [texture = uber->getTexture()](float u, float v) {
                    return sampleTexture(texture, u, v);
                };
        } else if (material != osg::NullFC && material->isTransparent())
            look.alpha = ktPreviewMaterial::Alpha::Blend;
        scene.materials.push_back(std::move(look));
        return entry->second;
    }
};

} // namespace

ktPreviewScene collectPreview(const osg::NodePtr& root) {
    Collector collector;
    forEachGeometryInstance(root, ktInstances::Visible, [&](const ktGeometryInstance& instance) {
        collector.add(instance);
        return true;
    });
    return std::move(collector.scene);
}
