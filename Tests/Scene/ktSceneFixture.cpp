// SPDX-License-Identifier: LGPL-2.1-or-later
// Provides tests with a scene that is empty at first and closed at the end.
#include "ktSceneFixture.h"

#include "ktSceneState.h"

#include <OpenSG/OSGGeoProperty.h>
#include <OpenSG/OSGGroup.h>
#include <OpenSG/OSGSimpleAttachments.h>

ktSceneFixture::ktSceneFixture() : root(osg::makeNodeFor(osg::Group::create())) {
    ktSceneState::setRootNode(root);
}

ktSceneFixture::~ktSceneFixture() {
    ktSceneState::setRootNode(osg::NullFC);
}

osg::NodePtr ktSceneFixture::addNode(const osg::NodePtr& parent, const std::string& name,
                                     const osg::NodeCorePtr& core) {
    const osg::NodePtr node = osg::makeNodeFor(core == osg::NullFC ? osg::NodeCorePtr(osg::Group::create()) : core);
    if (!name.empty())
        osg::setName(node, name);
    parent->addChild(node);
    return node;
}

osg::GeometryPtr ktSceneFixture::makeGeometry(const std::vector<osg::Pnt3f>& points) {
    const osg::GeoPositions3fPtr positions = osg::GeoPositions3f::create();
    for (const osg::Pnt3f& point : points)
        positions->push_back(point);
    const osg::GeometryPtr geometry = osg::Geometry::create();
    geometry->setPositions(positions);
    return geometry;
}

osg::NodePtr ktSceneFixture::keep(const osg::NodePtr& node) {
    kept.emplace_back(node);
    return node;
}
