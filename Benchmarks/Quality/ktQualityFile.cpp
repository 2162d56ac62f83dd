// SPDX-License-Identifier: LGPL-2.1-or-later
// Reads a baked glTF file into triangles in world space, with the reading code of the host.
#include "ktQualityFile.h"

#include "ktBakedLight.h"
#include "ktFileMessages.h"
#include "ktGeometryInstances.h"
#include "ktGltfAccessor.h"
#include "ktGltfScene.h"
#include "ktLengthUnit.h"
#include "ktLuminance.h"
#include "ktSurfaceColors.h"
#include "OSGUEnvironmentMaterial.h"
#include "OSGUEnvironmentSwitchMaterial.h"
#include "OSGUShadowMaterial.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <OpenSG/OSGTriangleIterator.h>
#include <stdexcept>

namespace {

// A matrix in double precision, and the matrix for normals: the inverse transpose times a positive number.
struct Transform {
    double point[3][4], normal[3][3];
    bool isMirrored;

    Transform(const osg::Matrix& matrix, double scale) {
        for (unsigned row = 0; row < 3; ++row)
            for (unsigned column = 0; column < 4; ++column)
                point[row][column] = scale * matrix[column][row];
        for (std::size_t i = 0; i < 3; ++i)
            for (std::size_t k = 0; k < 3; ++k) {
                const std::size_t i1 = (i + 1) % 3, i2 = (i + 2) % 3, k1 = (k + 1) % 3, k2 = (k + 2) % 3;
                normal[i][k] = point[i1][k1] * point[i2][k2] - point[i1][k2] * point[i2][k1];
            }
        const double determinant = point[0][0] * normal[0][0] + point[0][1] * normal[0][1] + point[0][2] * normal[0][2];
        isMirrored = determinant < 0;
        for (auto& row : normal)
            for (double& value : row)
                value = isMirrored ? -value : value;
    }
};

template <class Material>
bool isMaterial(const osg::MaterialPtr& material) {
    return material != osg::NullFC && Material::dcast(material) != osg::NullFC;
}

bool isEnvironment(const osg::MaterialPtr& material) {
    return isMaterial<osg::UEnvironmentMaterialPtr>(material) ||
           isMaterial<osg::UEnvironmentSwitchMaterialPtr>(material);
}

// One use of a primitive. Triangles with a position that is not finite are left out.
// @param shown the normals that the file shows, x, y, z per vertex; empty: none
ktQualityMesh makeMesh(const ktGeometryInstance& use, const std::vector<float>& shown, double scale,
                       ktQualityValues values) {
    const osg::GeometryPtr& geometry = use.geometry;
    const Transform transform(use.toWorld, scale);
    ktQualityMesh mesh;
    const osg::GeoPositions3fPtr positions = osg::GeoPositions3fPtr::dcast(geometry->getPositions());
    if (positions == osg::NullFC)
        return mesh;
    const osg::UInt32 count = positions->getSize();
    std::vector<char> isUsable(count, 1);
    std::vector<float> vertexNormals;
    for (osg::UInt32 i = 0; i < count; ++i) {
        const osg::Pnt3f p = positions->getField()[i];
        for (const auto& row : transform.point) {
            const double value = row[0] * p[0] + row[1] * p[1] + row[2] * p[2] + row[3];
            isUsable[i] = isUsable[i] && std::fabs(value) < 1e18;
            mesh.positions.push_back(isUsable[i] ? static_cast<float>(value) : 0.0f);
        }
    }
    mesh.positions.push_back(0);
    const bool hasNormals = shown.size() >= 3 * std::size_t(count);
    for (osg::UInt32 i = 0; hasNormals && i < count; ++i) {
        const float* n = &shown[3 * std::size_t(i)];
        double world[3];
        for (std::size_t axis = 0; axis < 3; ++axis)
            world[axis] =
                transform.normal[axis][0] * n[0] + transform.normal[axis][1] * n[1] + transform.normal[axis][2] * n[2];
        const double length = std::sqrt(world[0] * world[0] + world[1] * world[1] + world[2] * world[2]);
        for (const double value : world)
            vertexNormals.push_back(length > 0 ? static_cast<float>(value / length) : 0.0f);
    }
    for (osg::TriangleIterator triangle = geometry->beginTriangles(); !triangle.isAtEnd(); ++triangle) {
        std::uint32_t corners[3];
        bool isWhole = true;
        for (int i = 0; i < 3; ++i) {
            const osg::Int32 index = triangle.getPositionIndex(i);
            corners[i] = static_cast<std::uint32_t>(index);
            isWhole = isWhole && index >= 0 && corners[i] < count && isUsable[corners[i]];
        }
        if (!isWhole)
            continue;
        if (transform.isMirrored)
            std::swap(corners[1], corners[2]);
        mesh.indices.insert(mesh.indices.end(), corners, corners + 3);
    }
    mesh.sky.assign(count, 1.0f);
    const osg::GeoTexCoords4fPtr results = osg::GeoTexCoords4fPtr::dcast(geometry->getTexCoords7());
    const osg::GeoColors4fPtr colors = osg::GeoColors4fPtr::dcast(geometry->getColors());
    for (osg::UInt32 i = 0; i < count; ++i)
        if (values == ktQualityValues::Results && results != osg::NullFC && i < results->getSize())
            mesh.sky[i] = results->getField()[i][3];
        else if (values == ktQualityValues::Colors && colors != osg::NullFC && i < colors->getSize())
            mesh.sky[i] = colors->getField()[i][0];
    if (!hasNormals)
        mesh.cornerNormals = ktMakeCreaseNormals(mesh);
    else
        for (const std::uint32_t index : mesh.indices)
            mesh.cornerNormals.insert(mesh.cornerNormals.end(), &vertexNormals[3 * std::size_t(index)],
                                      &vertexNormals[3 * std::size_t(index)] + 3);
    const osg::MaterialPtr material = ktMaterialInEffect(use.node);
    const bool isGroundPlane = isMaterial<osg::UShadowMaterialPtr>(material);
    mesh.isMeasured = !isGroundPlane && !isEnvironment(material);
    mesh.isOccluder = isGroundPlane || isEnvironment(material) || material == osg::NullFC || !material->isTransparent();
    return mesh;
}

// The normals that a viewer uses; empty if the file has none.
std::vector<float> readShownNormals(const ktGltfDocument& document, const ktPrimitiveLink& link) {
    std::vector<float> shown;
    const osg::GeoNormals3fPtr normals = osg::GeoNormals3fPtr::dcast(link.geometry->getNormals());
    const ktJson& attributes = document.json["meshes"][link.mesh]["primitives"][link.primitive]["attributes"];
    if (link.hasNormals && normals != osg::NullFC) {
        const auto* values = reinterpret_cast<const float*>(normals->getData());
        shown.assign(values, values + 3 * std::size_t(normals->getSize()));
    } else if (const auto index = ktJsonWhole(attributes, "NORMAL")) { // calculated by an earlier bake
        const ktGltfAccessor accessor(document, static_cast<std::size_t>(*index));
        for (std::size_t i = 0; i < link.vertexCount; ++i) {
            const auto source = static_cast<std::uint32_t>(link.sourceOf(i));
            if (source >= accessor.count())
                return {};
            shown.resize(shown.size() + 3);
            accessor.readFloats(&source, 1, 3, 0.0f, &shown[3 * i]);
        }
    }
    return shown;
}

// The light in the vertex colours of a primitive. Empty if it has no results.
std::vector<std::array<float, 3>> readLight(const ktGltfDocument& document, const ktPrimitiveLink& link,
                                            const osg::NodePtr& node) {
    constexpr float leastColor = 1.0f / 255;
    const ktJson& attributes = document.json["meshes"][link.mesh]["primitives"][link.primitive]["attributes"];
    const auto index = ktJsonWhole(attributes, "COLOR_0");
    std::vector<std::array<float, 3>> light = ktReadBakedLight(node, link.geometry);
    if (!index || !ktJsonMember(attributes, "_SOURCE_COLOR_0"))
        return {};
    const ktGltfAccessor accessor(document, static_cast<std::size_t>(*index));
    std::vector<float> shown(3 * accessor.count());
    accessor.readFloats(nullptr, accessor.count(), 3, 1.0f, shown.data());
    const osg::GeoColors4fPtr colors = osg::GeoColors4fPtr::dcast(link.geometry->getColors());
    for (std::size_t i = 0; i < light.size(); ++i)
        for (std::size_t c = 0; c < 3; ++c) {
            const bool hasColor = colors != osg::NullFC && i < colors->size();
            const float own =
                hasColor ? colors->getField()[static_cast<osg::UInt32>(i)][static_cast<osg::UInt32>(c)] : 1.0f;
            const std::size_t source = 3 * link.sourceOf(i) + c;
            if (own > leastColor && source < shown.size())
                light[i][c] = shown[source] / own;
            else // the vertex colour says nothing of the light
                light[i][c] = std::min(light[i][c], 1.0f);
        }
    return light;
}

// The colour that a use of a geometry reflects; null if nothing.
decltype(ktQualityMesh::albedo) readAlbedo(const ktGeometryInstance& use, const ktQualityReflection& reflection,
                                           const std::vector<std::uint32_t>& indices) {
    const osg::MaterialPtr material = ktMaterialInEffect(use.node);
    if (isMaterial<osg::UShadowMaterialPtr>(material))
        return {};
    const auto reflected = [isColored = reflection.isColored](const float* color) {
        const float grey = ktLuminance(color);
        return isColored ? std::array<float, 3>{color[0], color[1], color[2]} : std::array<float, 3>{grey, grey, grey};
    };
    if (reflection.color)
        return [color = reflected(reflection.color->data())](std::uint32_t, float, float) { return color; };
    return [=, colors = ktReadSurfaceColors(use.geometry, material)](std::uint32_t triangle, float u, float v) {
        return reflected(colors.at(&indices[3 * std::size_t(triangle)], u, v).data());
    };
}

} // namespace

std::vector<float> ktMakeCreaseNormals(const ktQualityMesh& mesh) {
    const double leastCosine = std::cos(30.001 * M_PI / 180); // 30 degrees themselves belong to it
    const auto cosine = [](const ktQualityVector& a, const ktQualityVector& b) {
        const double lengths = std::hypot(a[0], a[1], a[2]) * std::hypot(b[0], b[1], b[2]);
        return lengths > 0 ? (a[0] * b[0] + a[1] * b[1] + a[2] * b[2]) / lengths : -1;
    };
    std::vector<ktQualityVector> faces;
    std::vector<std::vector<std::uint32_t>> around(mesh.vertexCount());
    for (std::uint32_t triangle = 0; triangle < mesh.triangleCount(); ++triangle) {
        faces.push_back(mesh.areaVector(triangle));
        for (std::size_t i = 0; i < 3; ++i)
            around[mesh.indices[3 * std::size_t(triangle) + i]].push_back(triangle);
    }
    std::vector<float> normals;
    normals.reserve(3 * mesh.indices.size());
    for (std::size_t corner = 0; corner < mesh.indices.size(); ++corner) {
        const ktQualityVector& own = faces[corner / 3];
        ktQualityVector sum{0, 0, 0};
        for (const std::uint32_t other : around[mesh.indices[corner]])
            if (cosine(own, faces[other]) >= leastCosine)
                for (std::size_t axis = 0; axis < 3; ++axis)
                    sum[axis] += faces[other][axis];
        const double length = std::hypot(sum[0], sum[1], sum[2]);
        for (const double value : sum)
            normals.push_back(length > 0 ? static_cast<float>(value / length) : 0.0f);
    }
    return normals;
}

ktQualityScene ktReadQualityScene(const std::string& path, double diagonal_mm, const ktQualityReflection& reflection,
                                  ktQualityValues values) {
    try {
        ktFileMessages messages;
        const ktGltfDocument document = ktReadGltf(QString::fromStdString(path), messages);
        const ktNodeTree tree = ktReadNodeTree(document, {}, messages);
        const ktGltfScene file = ktBuildScene(document, tree, {}, messages);
        if (!reflection.color)
            file.materials->loadPictures(messages);
        std::map<osg::UInt32, const ktPrimitiveLink*> links; // by container id of the geometry
        for (const ktPrimitiveLink& link : file.primitives)
            links[osg::GeometryPtr(link.geometry).getFieldContainerId()] = &link;
        const double scale = diagonal_mm / ktSceneDiagonal(file.root);
        if (!std::isfinite(scale))
            throw std::runtime_error("the scene has no extent");
        ktQualityScene scene;
        scene.unit_mm = scale;
        for (const ktPrimitiveLink& link : file.primitives)
            if (!link.isGroundPlane) {
                scene.vertices += link.vertexCount - link.splitVertices; // the file has them once
                scene.triangles += ktCountTriangles(link.geometry);
            }
        ktForEachGeometryInstance(file.root, ktInstances::Visible, [&](const ktGeometryInstance& use) {
            const auto link = links.find(use.geometry.getFieldContainerId());
            const std::vector<float> shown =
                link != links.end() ? readShownNormals(document, *link->second) : std::vector<float>();
            ktQualityMesh mesh = makeMesh(use, shown, scale, values);
            if (mesh.indices.empty())
                return true;
            if (link != links.end() && mesh.isMeasured && values == ktQualityValues::Results)
                mesh.light = readLight(document, *link->second, use.node);
            mesh.albedo = readAlbedo(use, reflection, mesh.indices);
            scene.meshes.push_back(std::move(mesh));
            return true;
        });
        return scene;
    } catch (const std::exception& error) {
        throw std::runtime_error(path + ": " + error.what());
    }
}
