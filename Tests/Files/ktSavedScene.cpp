// SPDX-License-Identifier: LGPL-2.1-or-later
// Opens and saves scene files for tests, and finds geometry and nodes in them.
#include "ktSavedScene.h"

#include "ktGeometryInstances.h"
#include "ktGltfAccessor.h"

#include <OpenSG/OSGSimpleAttachments.h>
#include <OpenSG/OSGTriangleIterator.h>

std::unique_ptr<ktSceneFile> ktOpenTestScene(const QString& path, const ktOpenOptions& options) {
    ktFileReport report;
    auto file = ktSceneFile::open(path, options, report);
    EXPECT_TRUE(file) << report.error;
    EXPECT_EQ(report.isGood(), file != nullptr);
    if (!file)
        throw std::runtime_error(report.error);
    return file;
}

std::vector<std::string> ktOpeningSays(const QString& path, const ktOpenOptions& options) {
    ktFileReport report;
    const auto file = ktSceneFile::open(path, options, report);
    EXPECT_EQ(report.isGood(), file != nullptr);
    if (!file)
        return {report.error};
    std::vector<std::string> lines;
    for (const ktFileWarning& warning : report.messages.warnings())
        lines.push_back(warning.text());
    return lines;
}

std::vector<std::string> ktSaveTestScene(ktSceneFile& file, const QString& path, const ktSaveOptions& options) {
    ktFileReport report;
    EXPECT_TRUE(file.save(path, options, report)) << report.error;
    std::vector<std::string> lines;
    for (const ktFileWarning& warning : report.messages.warnings())
        lines.push_back(warning.text());
    return lines;
}

std::vector<ktSeenGeometry> ktGeometriesOf(const ktSceneFile& file) {
    std::vector<ktSeenGeometry> seen;
    ktForEachGeometryInstance(file.getRoot(), ktInstances::All, [&](const ktGeometryInstance& instance) {
        seen.push_back({osg::NodeRefPtr(instance.node), osg::GeometryRefPtr(instance.geometry), instance.toWorld});
        return true;
    });
    return seen;
}

osg::NodePtr ktNodeNamed(const ktSceneFile& file, const std::string& name) {
    std::vector<osg::NodePtr> open = {file.getRoot()};
    while (!open.empty()) {
        const osg::NodePtr node = open.back();
        open.pop_back();
        const char* own = osg::getName(node);
        if (own && name == own)
            return node;
        for (osg::UInt32 i = 0; i < node->getNChildren(); ++i)
            open.push_back(node->getChild(i));
    }
    return osg::NullFC;
}

std::vector<osg::Pnt3f> ktPositionsOf(const osg::GeometryPtr& geometry) {
    std::vector<osg::Pnt3f> out;
    const osg::GeoPositionsPtr positions = geometry->getPositions();
    for (osg::UInt32 i = 0; positions != osg::NullFC && i < positions->size(); ++i)
        out.push_back(positions->getValue(i));
    return out;
}

std::vector<osg::Vec3f> ktNormalsOf(const osg::GeometryPtr& geometry) {
    std::vector<osg::Vec3f> out;
    const osg::GeoNormalsPtr normals = geometry->getNormals();
    for (osg::UInt32 i = 0; normals != osg::NullFC && i < normals->size(); ++i)
        out.push_back(normals->getValue(i));
    return out;
}

std::vector<int> ktTrianglesOf(const osg::GeometryPtr& geometry) {
    std::vector<int> out;
    for (osg::TriangleIterator triangle = geometry->beginTriangles(); triangle != geometry->endTriangles(); ++triangle)
        for (int corner = 0; corner < 3; ++corner)
            out.push_back(triangle.getPositionIndex(corner));
    return out;
}

std::vector<osg::Vec4f> ktChannelOf(const osg::GeometryPtr& geometry, int channel) {
    const auto property =
        osg::GeoTexCoords4fPtr::dcast(channel == 5 ? geometry->getTexCoords5() : geometry->getTexCoords7());
    if (property == osg::NullFC)
        return {};
    return {property->getField().begin(), property->getField().end()};
}

void ktSetChannel(const osg::GeometryPtr& geometry, int channel, const std::vector<osg::Vec4f>& values) {
    const osg::GeoTexCoords4fPtr property = osg::GeoTexCoords4f::create();
    for (const osg::Vec4f& value : values)
        property->getField().push_back(value);
    if (channel == 5)
        geometry->setTexCoords5(property);
    else
        geometry->setTexCoords7(property);
}

void ktPretendToBake(const ktSceneFile& file, bool indirect) {
    float next = 0.0f;
    for (const ktSeenGeometry& seen : ktGeometriesOf(file)) {
        if (seen.geometry->getNormals() == osg::NullFC || !ktChannelOf(seen.geometry, 7).empty())
            continue;
        std::vector<osg::Vec4f> values;
        for (std::size_t i = 0; i < ktPositionsOf(seen.geometry).size(); ++i) {
            next = next > 0.9f ? 0.013f : next + 0.0377f;
            const float light = indirect ? next / 3.0f : 0.0f;
            values.emplace_back(light, light / 2.0f, light / 4.0f, next);
        }
        ktSetChannel(seen.geometry, 7, values);
    }
}

ktJson ktJsonOfFile(const QString& path) {
    ktFileMessages messages;
    return ktReadGltf(path, messages).json;
}

std::vector<float> ktAccessorOf(const QString& path, const ktJson& index) {
    ktFileMessages messages;
    const ktGltfDocument document = ktReadGltf(path, messages);
    const ktGltfAccessor accessor(document, index.get<std::size_t>());
    std::vector<float> out(accessor.count() * static_cast<std::size_t>(accessor.components()));
    accessor.readFloats(nullptr, accessor.count(), accessor.components(), 0.0f, out.data());
    return out;
}
