// SPDX-License-Identifier: LGPL-2.1-or-later
// Commands that change results, locks, visibility and texts of nodes.
#include "ktSceneCommands.h"

#include "ktNodeAttachments.h"
#include "ktNodeMarks.h"
#include "ktScenegraph.h"
#include "OSGValuePair.h"

#include <utility>

namespace {

void setLocked(const std::vector<osg::NodeRefPtr>& nodes, bool isLocked) {
    for (const osg::NodeRefPtr& node : nodes)
        ktNodeMarks::setLocked(node.get(), isLocked);
    ktScenegraph::update(true);
}

void setHidden(const std::vector<osg::NodeRefPtr>& nodes, bool isHidden) {
    for (const osg::NodeRefPtr& node : nodes) {
        osg::beginEditCP(node.get(), osg::Node::TravMaskFieldMask);
        node.get()->setActive(!isHidden);
        osg::endEditCP(node.get(), osg::Node::TravMaskFieldMask);
    }
    ktScenegraph::update(true);
}

} // namespace

ktResultsCommand::ktResultsCommand(const QString& text, ktResultState before)
    : ktSceneCommand(text), other(std::move(before)) {}

void ktResultsCommand::undo() {
    other.swap();
    isDone = false;
}

void ktResultsCommand::redo() {
    if (!isDone)
        other.swap();
    isDone = true;
}

ktLockCommand::ktLockCommand(const QString& text, const std::vector<osg::NodePtr>& nodes_, bool isLocked_)
    : ktSceneCommand(text), isLocked(isLocked_) {
    for (const osg::NodePtr& node : nodes_)
        if (ktNodeMarks::isLocked(node) != isLocked)
            nodes.emplace_back(node);
}

void ktLockCommand::undo() {
    setLocked(nodes, !isLocked);
}

void ktLockCommand::redo() {
    setLocked(nodes, isLocked);
}

ktHideCommand::ktHideCommand(const QString& text, const std::vector<osg::NodePtr>& nodes_, bool isHidden_)
    : ktUndoCommand(text), isHidden(isHidden_) {
    for (const osg::NodePtr& node : nodes_)
        if (node->getActive() == isHidden)
            nodes.emplace_back(node);
}

void ktHideCommand::undo() {
    setHidden(nodes, !isHidden);
}

void ktHideCommand::redo() {
    setHidden(nodes, isHidden);
}

ktTextCommand::ktTextCommand(const QString& text, const osg::NodePtr& node_, std::string key_,
                             std::optional<std::string> value_)
    : ktSceneCommand(text), node(node_), key(std::move(key_)), value(std::move(value_)) {}

void ktTextCommand::swap() {
    auto texts = ktFindAttachment<osg::ValuePair>(node.get());
    std::string old;
    std::optional<std::string> before;
    if (texts != osg::NullFC && texts->get(key, old))
        before = old;
    if (texts == osg::NullFC) {
        texts = osg::ValuePair::create();
        ktAttach(node.get(), texts);
    }
    osg::beginEditCP(texts);
    if (value)
        texts->set(key, *value);
    else
        texts->del(key);
    osg::endEditCP(texts);
    if (texts->getSize() == 0)
        ktDetach(node.get(), texts);
    value = before;
    ktScenegraph::update(true);
}
