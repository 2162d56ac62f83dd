// SPDX-License-Identifier: LGPL-2.1-or-later
// Builds scenes of plain triangles for tests, and calls the host's ray tracing as the plug-in does.
#include "ktTriangleScene.h"

#include <cfloat>

const osg::Vec4f ktTestTracing::untouched(7, 8, 9, 10);

ktTriangleScene::ktTriangleScene() : root(osg::Node::create()) {
    beginEditCP(root.get(), osg::Node::CoreFieldMask);
    root->setCore(osg::Group::create());
    endEditCP(root.get(), osg::Node::CoreFieldMask);
}

ktTriangleScene::~ktTriangleScene() = default;

osg::GeometryPtr ktTriangleScene::makeGeometry(const ktTestMesh& mesh) {
    const osg::GeometryPtr geometry = osg::Geometry::create();
    const osg::GeoPTypesUI8Ptr types = osg::GeoPTypesUI8::create();
    const osg::GeoPLengthsUI32Ptr lengths = osg::GeoPLengthsUI32::create();
    const osg::GeoIndicesUI32Ptr indices = osg::GeoIndicesUI32::create();
    const osg::GeoPositions3fPtr positions = osg::GeoPositions3f::create();
    types->push_back(GL_TRIANGLES);
    lengths->push_back(static_cast<osg::UInt32>(mesh.indices.size()));
    for (std::uint32_t index : mesh.indices)
        indices->push_back(index);
    for (std::size_t i = 0; i + 2 < mesh.positions.size(); i += 3)
        positions->push_back(osg::Pnt3f(mesh.positions[i], mesh.positions[i + 1], mesh.positions[i + 2]));
    beginEditCP(geometry);
    geometry->setTypes(types);
    geometry->setLengths(lengths);
    geometry->setIndices(indices);
    geometry->setPositions(positions);
    endEditCP(geometry);
    return geometry;
}

osg::NodePtr ktTriangleScene::addCore(const osg::NodeCorePtr& core, const osg::Matrix& toWorld) {
    const osg::NodePtr above = osg::Node::create(), node = osg::Node::create();
    const osg::TransformPtr transform = osg::Transform::create();
    beginEditCP(transform);
    transform->setMatrix(toWorld);
    endEditCP(transform);
    beginEditCP(node);
    node->setCore(core);
    endEditCP(node);
    beginEditCP(above);
    above->setCore(transform);
    above->addChild(node);
    endEditCP(above);
    beginEditCP(root.get());
    root->addChild(above);
    endEditCP(root.get());
    return node;
}

osg::NodePtr ktTriangleScene::addMesh(const ktTestMesh& mesh, const osg::Matrix& toWorld) {
    const osg::NodePtr node = addCore(makeGeometry(mesh), toWorld);
    geometryNodes.push_back(node);
    return node;
}

osg::NodePtr ktTriangleScene::addInstance(const osg::NodePtr& node, const osg::Matrix& toWorld) {
    geometryNodes.push_back(addCore(node->getCore(), toWorld));
    return geometryNodes.back();
}

ktTestTracing::ktTestTracing(std::unique_ptr<ktSceneRaytracing> tracing, int count)
    : utils(std::move(tracing)), sampler(utils->createSampler(count, count, 0, 1, 0.25f, 0.25f)) {
    utils->configureTracing(count, count, 0.0f, FLT_MAX);
}

ktTestTracing::~ktTestTracing() {
    utils->releaseSampler(sampler);
}

std::vector<osg::Vec4f> ktTestTracing::trace(const std::vector<Vertex>& vertices, bool lightMode) {
    std::vector<osg::Pnt3f> positions;
    std::vector<osg::Vec3f> normals;
    for (const Vertex& vertex : vertices) {
        positions.push_back(vertex.position);
        normals.push_back(vertex.normal);
    }
    std::vector<osg::Vec4f> results(vertices.size(), untouched);
    utils->computeVertexOcclusion(static_cast<osg::UInt32>(vertices.size()), toWorld, positions.data(), normals.data(),
                                  results.data(), toWorld != nullptr, sampler, bothSides, lightMode);
    return results;
}

std::vector<osg::Vec4f> ktTestTracing::traceNode(const osg::NodePtr& node, const std::vector<osg::Vec3f>& normals) {
    const osg::GeometryPtr geometry = osg::GeometryPtr::dcast(node->getCore());
    const osg::GeoPositions3fPtr positions = osg::GeoPositions3fPtr::dcast(geometry->getPositions());
    const osg::Matrix matrix = node->getToWorld();
    std::vector<osg::Vec4f> results(normals.size(), untouched);
    utils->computeVertexOcclusion(static_cast<osg::UInt32>(normals.size()), &matrix, &positions->getField()[0],
                                  normals.data(), results.data(), true, sampler, bothSides, false);
    return results;
}
