// SPDX-License-Identifier: LGPL-2.1-or-later
// Visits each use of a geometry in a tree with its world matrix, and counts a geometry's triangles.
#include "ktGeometryInstances.h"

#include <OpenSG/OSGGeoFunctions.h>
#include <OpenSG/OSGSwitch.h>
#include <OpenSG/OSGTriangleIterator.h>
#include <OpenSG/OSGWorldMatrices.h>
#include <vector>

namespace {

// An entered node and its children that are still to be entered.
struct Frame {
    osg::NodePtr node;
    osg::Matrix toWorld;
    osg::UInt32 nextChild = 0;
    osg::UInt32 endChild = 0;
};

void chooseChildren(Frame& frame, ktInstances which) {
    const osg::UInt32 count = frame.node->getNChildren();
    frame.endChild = count;
    const auto switchCore = osg::SwitchPtr::dcast(frame.node->getCore());
    if (which == ktInstances::All || switchCore == osg::NullFC || switchCore->getChoice() == osg::Switch::ALL)
        return;
    const osg::Int32 choice = switchCore->getChoice();
    const bool isChild = choice >= 0 && static_cast<osg::UInt32>(choice) < count;
    frame.nextChild = isChild ? static_cast<osg::UInt32>(choice) : 0;
    frame.endChild = isChild ? frame.nextChild + 1 : 0;
}

} // namespace

void ktForEachGeometryInstance(const osg::NodePtr& root, ktInstances which,
                               const std::function<bool(const ktGeometryInstance&)>& visit) {
    std::vector<Frame> frames;

    // Returns false if visit() did.
    const auto enter = [&](const osg::NodePtr& node, const osg::Matrix& parentToWorld) {
        if (node == osg::NullFC || (which == ktInstances::Visible && !node->getActive()))
            return true;
        Frame frame;
        frame.node = node;
        frame.toWorld = parentToWorld;
        if (node->getCore() != osg::NullFC)
            osg::CoreMatrix::accumulate(*node->getCore(), frame.toWorld);
        chooseChildren(frame, which);
        const auto geometry = osg::GeometryPtr::dcast(node->getCore());
        const bool goesOn = geometry == osg::NullFC || visit({node, geometry, frame.toWorld});
        frames.push_back(frame);
        return goesOn;
    };

    osg::Matrix aboveRoot;
    if (root != osg::NullFC && root->getParent() != osg::NullFC)
        root->getParent()->getToWorld(aboveRoot);
    if (!enter(root, aboveRoot))
        return;
    while (!frames.empty()) {
        Frame& frame = frames.back();
        if (frame.nextChild == frame.endChild) {
            frames.pop_back();
            continue;
        }
        const osg::NodePtr child = frame.node->getChild(frame.nextChild++);
        const osg::Matrix toWorld = frame.toWorld; // the frame moves when the next one is added
        if (!enter(child, toWorld))
            return;
    }
}

bool ktHasNoTriangles(const std::vector<osg::NodePtr>& nodes) {
    bool isEmpty = true, hasTriangles = false;
    for (const osg::NodePtr& node : nodes)
        ktForEachGeometryInstance(node, ktInstances::All, [&](const ktGeometryInstance& instance) {
            isEmpty = false;
            hasTriangles = hasTriangles || ktCountTriangles(instance.geometry) > 0;
            return !hasTriangles;
        });
    return !isEmpty && !hasTriangles;
}

std::uint64_t ktCountTriangles(const osg::GeometryPtr& geometry) {
    bool hasStrips = false;
    for (osg::PrimitiveIterator primitive = geometry->beginPrimitives(); !primitive.isAtEnd(); ++primitive)
        hasStrips = hasStrips || primitive.getType() == GL_TRIANGLE_STRIP || primitive.getType() == GL_QUAD_STRIP;
    if (!hasStrips) {
        osg::UInt32 triangles = 0, lines = 0, points = 0;
        osg::calcPrimitiveCount(geometry, triangles, lines, points);
        return triangles;
    }
    // Those that only connect parts of a strip do not count.
    std::uint64_t count = 0;
    for (osg::TriangleIterator triangle = geometry->beginTriangles(); !triangle.isAtEnd(); ++triangle)
        ++count;
    return count;
}
