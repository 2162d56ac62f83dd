// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <gtest/gtest.h>
#include <OpenSG/OSGGeometry.h>
#include <OpenSG/OSGNode.h>
#include <string>
#include <vector>

/// Provides a scene that has only an unnamed root at first, and closes it at the end of the test.
class ktSceneFixture : public testing::Test {
protected:
    ktSceneFixture();
    ~ktSceneFixture() override;

    /// Adds a node below `parent`. Default core: a new group. An empty name means no name.
    static osg::NodePtr addNode(const osg::NodePtr& parent, const std::string& name,
                                const osg::NodeCorePtr& core = osg::NullFC);
    /// A geometry with only the points.
    static osg::GeometryPtr makeGeometry(const std::vector<osg::Pnt3f>& points = {osg::Pnt3f(0, 0, 0)});
    /// References a node without parent until the end of the test, like the plug-in's working copies.
    osg::NodePtr keep(const osg::NodePtr& node);

    osg::NodePtr root;

private:
    std::vector<osg::NodeRefPtr> kept;
};
