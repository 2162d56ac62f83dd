// SPDX-License-Identifier: LGPL-2.1-or-later
#include "ktGeometryInstances.h"

#include <OpenSG/OSGSwitch.h>
#include <vector>

namespace {

// A node that was entered, and which of its children are still to be entered.
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

    // Returns false when the visitor has had enough.
    const auto enter = [&](const osg::NodePtr& node, const osg::Matrix& parentToWorld) {
        if (node == osg::NullFC || (which == ktInstances::Visible && !node->getActive()))
            return true;
        Frame frame;
        frame.node = node;
        frame.toWorld = parentToWorld;
        if (node->getCore() != osg::NullFC)
            node->getCore()->accumulateMatrix(frame.toWorld);
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
