// SPDX-License-Identifier: LGPL-2.1-or-later
// Builds small geometries, nodes and scenes for the plug-in's tests.
#include "ktSceneParts.h"

#include "ktRecordingHost.h"

#include <OpenSG/OSGGL.h>
#include <OpenSG/OSGGroup.h>
#include <OpenSG/OSGMaterialGroup.h>
#include <OpenSG/OSGSwitch.h>
#include <OpenSG/OSGTransform.h>

osg::GeometryPtr makeGeometry(const std::string& name, osg::UInt32 vertices) {
    const osg::GeoPTypesUI8Ptr types = osg::GeoPTypesUI8::create();
    const osg::GeoPLengthsUI32Ptr lengths = osg::GeoPLengthsUI32::create();
    const osg::GeoPositions3fPtr positions = osg::GeoPositions3f::create();
    const osg::GeoNormals3fPtr normals = osg::GeoNormals3f::create();
    osg::beginEditCP(types);
    types->push_back(GL_TRIANGLES);
    osg::endEditCP(types);
    osg::beginEditCP(lengths);
    lengths->push_back(vertices);
    osg::endEditCP(lengths);
    osg::beginEditCP(positions);
    osg::beginEditCP(normals);
    for (osg::UInt32 i = 0; i < vertices; ++i) {
        positions->push_back(osg::Pnt3f(float(i), 2.0f * float(i), 3.0f * float(i)));
        normals->push_back(osg::Vec3f(0, 1, 0));
    }
    osg::endEditCP(normals);
    osg::endEditCP(positions);

    const osg::GeometryPtr geometry = osg::Geometry::create();
    osg::beginEditCP(geometry);
    geometry->setTypes(types);
    geometry->setLengths(lengths);
    geometry->setPositions(positions);
    geometry->setNormals(normals);
    osg::endEditCP(geometry);
    nameCore(geometry, name);
    return geometry;
}

osg::NodePtr makeNode(const osg::NodeCorePtr& core, const std::vector<osg::NodePtr>& children) {
    const osg::NodePtr node = osg::Node::create();
    osg::beginEditCP(node);
    if (core != osg::NullFC)
        node->setCore(core);
    for (const osg::NodePtr& child : children)
        node->addChild(child);
    osg::endEditCP(node);
    return node;
}

osg::NodePtr makeGeometryNode(const std::string& name, osg::UInt32 vertices) {
    return makeNode(makeGeometry(name, vertices));
}

osg::NodePtr makeGroup(const std::string& name, const std::vector<osg::NodePtr>& children) {
    const osg::GroupPtr group = osg::Group::create();
    nameCore(group, name);
    return makeNode(group, children);
}

osg::NodePtr makeTransform(const std::string& name, const osg::Matrix& matrix,
                           const std::vector<osg::NodePtr>& children) {
    const osg::TransformPtr transform = osg::Transform::create();
    osg::beginEditCP(transform);
    transform->setMatrix(matrix);
    osg::endEditCP(transform);
    nameCore(transform, name);
    return makeNode(transform, children);
}

osg::NodePtr makeSwitch(osg::Int32 choice, const std::vector<osg::NodePtr>& children) {
    const osg::SwitchPtr core = osg::Switch::create();
    osg::beginEditCP(core);
    core->setChoice(choice);
    osg::endEditCP(core);
    nameCore(core, "switch");
    return makeNode(core, children);
}

osg::NodePtr makeMaterialGroup(const osg::MaterialPtr& material, const std::vector<osg::NodePtr>& children) {
    const osg::MaterialGroupPtr core = osg::MaterialGroup::create();
    osg::beginEditCP(core);
    core->setMaterial(material);
    osg::endEditCP(core);
    nameCore(core, "materialGroup");
    return makeNode(core, children);
}

osg::Matrix translation(float x, float y, float z) {
    osg::Matrix matrix;
    matrix.setTranslate(x, y, z);
    return matrix;
}

osg::GeometryPtr geometryOfNode(const osg::NodePtr& node) {
    return osg::GeometryPtr::dcast(node->getCore());
}

void setMaterial(const osg::NodePtr& node, const osg::MaterialPtr& material) {
    const osg::GeometryPtr geometry = geometryOfNode(node);
    osg::beginEditCP(geometry, osg::Geometry::MaterialFieldMask);
    geometry->setMaterial(material);
    osg::endEditCP(geometry, osg::Geometry::MaterialFieldMask);
}

void hide(const osg::NodePtr& node) {
    osg::beginEditCP(node, osg::Node::TravMaskFieldMask);
    node->setTravMask(0xFFFFFFFE);
    osg::endEditCP(node, osg::Node::TravMaskFieldMask);
}

osg::GeoTexCoords4fPtr makeChannel(const std::vector<osg::Vec4f>& values) {
    const osg::GeoTexCoords4fPtr channel = osg::GeoTexCoords4f::create();
    osg::beginEditCP(channel);
    for (const osg::Vec4f& value : values)
        channel->getFieldPtr()->push_back(value);
    osg::endEditCP(channel);
    return channel;
}

namespace {

std::vector<osg::Vec4f> valuesOf(const osg::GeoTexCoordsPtr& property) {
    std::vector<osg::Vec4f> values;
    if (property == osg::NullFC)
        return values;
    const osg::GeoTexCoords4fPtr channel = osg::GeoTexCoords4fPtr::dcast(property);
    if (channel != osg::NullFC)
        for (osg::UInt32 i = 0; i < channel->size(); ++i)
            values.push_back((*channel->getFieldPtr())[i]);
    return values;
}

} // namespace

std::vector<osg::Vec4f> channel7(const osg::GeometryPtr& geometry) {
    return valuesOf(geometry->getTexCoords7());
}
std::vector<osg::Vec4f> channel5(const osg::GeometryPtr& geometry) {
    return valuesOf(geometry->getTexCoords5());
}

void setChannel7(const osg::GeometryPtr& geometry, const osg::GeoTexCoordsPtr& channel) {
    osg::beginEditCP(geometry, osg::Geometry::TexCoords7FieldMask);
    geometry->setTexCoords7(channel);
    osg::endEditCP(geometry, osg::Geometry::TexCoords7FieldMask);
}

void setChannel5(const osg::GeometryPtr& geometry, const osg::GeoTexCoordsPtr& channel) {
    osg::beginEditCP(geometry, osg::Geometry::TexCoords5FieldMask);
    geometry->setTexCoords5(channel);
    osg::endEditCP(geometry, osg::Geometry::TexCoords5FieldMask);
}

void resizeNormals(const osg::GeometryPtr& geometry, osg::UInt32 count) {
    const osg::GeoNormals3fPtr normals = osg::GeoNormals3fPtr::dcast(geometry->getNormals());
    osg::beginEditCP(normals);
    normals->resize(count);
    osg::endEditCP(normals);
}

void makeMultiIndexed(const osg::GeometryPtr& geometry) {
    const osg::GeoIndicesUI32Ptr indices = osg::GeoIndicesUI32::create();
    osg::beginEditCP(indices);
    const osg::UInt32 count = geometry->getPositions()->size();
    for (osg::UInt32 i = 0; i < count; ++i) {
        indices->push_back(i);
        indices->push_back(count - 1 - i);
    }
    osg::endEditCP(indices);
    osg::beginEditCP(geometry);
    geometry->setIndices(indices);
    geometry->getMFIndexMapping()->push_back(osg::Geometry::MapPosition);
    geometry->getMFIndexMapping()->push_back(osg::Geometry::MapNormal);
    osg::endEditCP(geometry);
}
