// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <gmock/gmock.h>
#include <OpenSG/OSGGeometry.h>
#include <OpenSG/OSGGeoPropPtrs.h>
#include <OpenSG/OSGMaterial.h>
#include <OpenSG/OSGMatrix.h>
#include <OpenSG/OSGNode.h>
#include <string>
#include <vector>

/// Matches a list that is not empty and in which every element is `value`.
template <class Value>
auto allAre(const Value& value) {
    return testing::AllOf(testing::Not(testing::IsEmpty()), testing::Each(value));
}

/// Small scenes for the plug-in's tests. Nothing here holds a reference. Names appear in the recording host's log.

/// A geometry of `vertices` positions and normals in one triangle list; position i is (i, 2i, 3i), normals point up.
osg::GeometryPtr makeGeometry(const std::string& name, osg::UInt32 vertices = 3);
/// A node with this core and these children.
osg::NodePtr makeNode(const osg::NodeCorePtr& core, const std::vector<osg::NodePtr>& children = {});
/// A node with a geometry as above.
osg::NodePtr makeGeometryNode(const std::string& name, osg::UInt32 vertices = 3);
/// A node with a named group core.
osg::NodePtr makeGroup(const std::string& name, const std::vector<osg::NodePtr>& children = {});
osg::NodePtr makeTransform(const std::string& name, const osg::Matrix& matrix,
                           const std::vector<osg::NodePtr>& children = {});
osg::NodePtr makeSwitch(osg::Int32 choice, const std::vector<osg::NodePtr>& children = {});
osg::NodePtr makeMaterialGroup(const osg::MaterialPtr& material, const std::vector<osg::NodePtr>& children = {});

osg::Matrix translation(float x, float y, float z);
osg::GeometryPtr geometryOfNode(const osg::NodePtr& node);
void setMaterial(const osg::NodePtr& node, const osg::MaterialPtr& material);
void hide(const osg::NodePtr& node);
/// A texture-coordinate property with these values.
osg::GeoTexCoords4fPtr makeChannel(const std::vector<osg::Vec4f>& values);
/// The values of channel 7 or 5; empty without a four-component property.
std::vector<osg::Vec4f> channel7(const osg::GeometryPtr& geometry);
std::vector<osg::Vec4f> channel5(const osg::GeometryPtr& geometry);
/// Sets this channel of the geometry; null removes it.
void setChannel7(const osg::GeometryPtr& geometry, const osg::GeoTexCoordsPtr& channel);
void setChannel5(const osg::GeometryPtr& geometry, const osg::GeoTexCoordsPtr& channel);
/// Removes or adds normals so that there are `count`.
void resizeNormals(const osg::GeometryPtr& geometry, osg::UInt32 count);
/// Gives the geometry two indices per vertex, one for positions and one for normals.
void makeMultiIndexed(const osg::GeometryPtr& geometry);
