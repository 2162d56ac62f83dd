// SPDX-License-Identifier: LGPL-2.1-or-later
// Builds scenes, and runs whole calculations on them with the plug-in and the real host.
#include "ktWholeScene.h"

#include "ktAmbientOcclusion.h"
#include "ktLogOutput.h"
#include "ktRaytracingManager.h"
#include "ktSceneState.h"
#include "ktThreadCount.h"
#include "OSGUberMaterial.h"

#include <cstring>
#include <gtest/gtest.h>
#include <OpenSG/OSGGroup.h>
#include <OpenSG/OSGPointLight.h>
#include <OpenSG/OSGTransform.h>

namespace {

template <class PropertyPtr, class Values>
PropertyPtr makeProperty(const Values& values) {
    const PropertyPtr property = PropertyPtr::StoredObjectType::create();
    osg::beginEditCP(property);
    for (const auto& value : values)
        property->push_back(value);
    osg::endEditCP(property);
    return property;
}

std::vector<osg::Vec4f> valuesOf(const osg::GeoTexCoordsPtr& channel) {
    const osg::GeoTexCoords4fPtr values = osg::GeoTexCoords4fPtr::dcast(channel);
    return values == osg::NullFC ? std::vector<osg::Vec4f>()
                                 : std::vector<osg::Vec4f>(values->getField().begin(), values->getField().end());
}

osg::NodePtr makeNode(const osg::NodeCorePtr& core) {
    const osg::NodePtr node = osg::Node::create();
    osg::beginEditCP(node);
    node->setCore(core);
    osg::endEditCP(node);
    return node;
}

void addChild(const osg::NodePtr& parent, const osg::NodePtr& child) {
    osg::beginEditCP(parent);
    parent->addChild(child);
    osg::endEditCP(parent);
}

} // namespace

std::vector<std::uint32_t> ktBitsOf(const std::vector<osg::Vec4f>& results) {
    std::vector<std::uint32_t> bits(4 * results.size());
    if (!bits.empty())
        std::memcpy(bits.data(), static_cast<const void*>(results.data()), 16 * results.size());
    return bits;
}

void ktWholeMesh::addGrid(const osg::Pnt3f& corner, const osg::Vec3f& a, const osg::Vec3f& b, int columns, int rows,
                          const osg::Vec3f& normal) {
    const auto first = static_cast<std::uint32_t>(positions.size());
    for (int row = 0; row <= rows; ++row)
        for (int column = 0; column <= columns; ++column) {
            const double s = double(column) / columns, t = double(row) / rows;
            osg::Pnt3f position;
            for (osg::UInt32 axis = 0; axis < 3; ++axis)
                position[axis] = static_cast<float>(corner[axis] + s * a[axis] + t * b[axis]);
            positions.push_back(position);
            normals.push_back(normal);
        }
    const auto stride = static_cast<std::uint32_t>(columns + 1);
    for (std::uint32_t row = 0; row < static_cast<std::uint32_t>(rows); ++row)
        for (std::uint32_t column = 0; column < static_cast<std::uint32_t>(columns); ++column) {
            const std::uint32_t p = first + row * stride + column;
            indices.insert(indices.end(), {p, p + 1, p + stride + 1, p, p + stride + 1, p + stride});
        }
}

ktWholeScene::ktWholeScene() : root(makeNode(osg::Group::create())) {
    ktLogOutput::setSink([](ktLogLevel level, const std::string& line) {
        EXPECT_GT(static_cast<int>(level), static_cast<int>(ktLogLevel::Warning)) << line;
    });
    ktSceneState::setRootNode(root.get());
}

ktWholeScene::~ktWholeScene() {
    ktSceneState::setRootNode(osg::NullFC);
    ktThreadCount::set(0);
    ktLogOutput::setSink({});
}

void ktWholeScene::add(const std::string& name, const ktWholeMesh& mesh, const osg::Color3f& color) {
    const osg::UberMaterialPtr material = osg::UberMaterial::create();
    osg::beginEditCP(material);
    material->setColor(color);
    osg::endEditCP(material);
    const osg::GeometryPtr geometry = osg::Geometry::create();
    osg::beginEditCP(geometry);
    geometry->setTypes(makeProperty<osg::GeoPTypesUI8Ptr>(std::vector<osg::UInt8>{GL_TRIANGLES}));
    geometry->setLengths(
        makeProperty<osg::GeoPLengthsUI32Ptr>(std::vector<osg::UInt32>{static_cast<osg::UInt32>(mesh.indices.size())}));
    geometry->setIndices(makeProperty<osg::GeoIndicesUI32Ptr>(mesh.indices));
    geometry->setPositions(makeProperty<osg::GeoPositions3fPtr>(mesh.positions));
    geometry->setNormals(makeProperty<osg::GeoNormals3fPtr>(mesh.normals));
    geometry->setMaterial(material);
    osg::endEditCP(geometry);
    nodes[name] = makeNode(geometry);
    addChild(root.get(), nodes[name]);
}

void ktWholeScene::addUse(const std::string& name, const osg::Matrix& toWorld) {
    const osg::TransformPtr transform = osg::Transform::create();
    osg::beginEditCP(transform);
    transform->setMatrix(toWorld);
    osg::endEditCP(transform);
    const osg::NodePtr parent = makeNode(transform);
    addChild(parent, makeNode(nodes.at(name)->getCore()));
    addChild(root.get(), parent);
}

void ktWholeScene::addLamp(const osg::Pnt3f& position_mm, const osg::Color3f& color) {
    const osg::PointLightPtr light = osg::PointLight::create();
    osg::beginEditCP(light);
    light->setPosition(position_mm);
    light->setDiffuse(color[0], color[1], color[2], 1);
    osg::endEditCP(light);
    addChild(root.get(), makeNode(light));
}

void ktWholeScene::bake(const ktWholeSettings& settings) {
    for (const auto& [name, node] : nodes) {
        const osg::GeometryPtr core = geometry(name);
        osg::beginEditCP(core);
        core->setTexCoords5(osg::NullFC);
        core->setTexCoords7(osg::NullFC);
        osg::endEditCP(core);
    }
    bakeAgain(settings);
}

void ktWholeScene::bakeAgain(const ktWholeSettings& settings) {
    std::vector<osg::NodePtr> top;
    for (osg::UInt32 i = 0; i < root->getNChildren(); ++i)
        top.push_back(root->getChild(i));
    ktSceneState::setSelection(top);
    ktThreadCount::set(settings.threads);
    auto* plugin = ktAmbientOcclusion::the();
    plugin->setShadowQuality(settings.shadowQuality);
    plugin->setGatherQuality(settings.gatherQuality == 0 ? 1 : 0); // only a change of the quality sets the count
    plugin->setGatherQuality(settings.gatherQuality);
    plugin->setNumOfIndirections(settings.bounces);
    plugin->setMode(static_cast<ktAmbientOcclusion::DirectLightMode>(settings.mode));
    plugin->setMinDistance(settings.minDistance);
    plugin->setMaxDistance(settings.maxDistance);
    plugin->setIndirectIlluminationEnabled(settings.indirect);
    plugin->setColorBleedingEnabled(settings.colorBleeding);
    plugin->setOverrideMaterialColorEnabled(settings.overrideColor);
    plugin->setMaterialColor(settings.color[0], settings.color[1], settings.color[2]);
    plugin->setSubdivideEnabled(settings.subdivide);
    plugin->setSubdivisionQuality(settings.subdivisionQuality);
    plugin->setMinEdgeLength(settings.minEdgeLength);
    plugin->setIntensityThreshold(settings.threshold);
    testing::internal::CaptureStdout();
    const bool hasRun = plugin->startCalculation(false);
    testing::internal::GetCapturedStdout();
    ASSERT_TRUE(hasRun);
}

osg::GeometryPtr ktWholeScene::geometry(const std::string& name) const {
    return osg::GeometryPtr::dcast(nodes.at(name)->getCore());
}

std::vector<osg::Vec4f> ktWholeScene::results(const std::string& name) const {
    return valuesOf(geometry(name)->getTexCoords7());
}

std::vector<osg::Vec4f> ktWholeScene::bakedLight(const std::string& name) const {
    return valuesOf(geometry(name)->getTexCoords5());
}
