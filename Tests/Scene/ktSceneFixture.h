// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <gtest/gtest.h>
#include <OpenSG/OSGGeometry.h>
#include <OpenSG/OSGNode.h>
#include <string>
#include <vector>

/// A scene of groups and geometry to ask the host about. Empty but for its unnamed root at first; closed at the end.
class ktSceneFixture : public testing::Test {
protected:
    ktSceneFixture();
    ~ktSceneFixture() override;

    /// A new node below `parent`; with a new group as core where none is given, without a name where that is empty.
    static osg::NodePtr addNode(const osg::NodePtr& parent, const std::string& name,
                                const osg::NodeCorePtr& core = osg::NullFC);
    /// A geometry of the points alone.
    static osg::GeometryPtr makeGeometry(const std::vector<osg::Pnt3f>& points = {osg::Pnt3f(0, 0, 0)});
    /// A node without parent, referenced until the end of the test, as the plug-in's working copies are.
    osg::NodePtr keep(const osg::NodePtr& node);

    osg::NodePtr root;

private:
    std::vector<osg::NodeRefPtr> kept;
};
