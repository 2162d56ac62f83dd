// SPDX-License-Identifier: LGPL-2.1-or-later
// Hides, locks and names: changes of nodes with undo.
#include "ktStudioEdit.h"

#include "ktNodeAttachments.h"
#include "ktNodeMarks.h"
#include "ktNodeUtils.h"
#include "ktSceneCommands.h"
#include "ktScenegraph.h"
#include "ktStudioDocument.h"
#include "ktUndoStack.h"
#include "OSGAmbientOcclusionSettingsAttachment.h"
#include "OSGValuePair.h"

#include <algorithm>
#include <OpenSG/OSGGeometry.h>

bool ktStudioEdit::isHidden(const osg::NodePtr& node) {
    return !node->getActive();
}

bool ktStudioEdit::isLocked(const osg::NodePtr& node) {
    return ktNodeMarks::isLocked(node);
}

bool ktStudioEdit::hasSettings(const osg::NodePtr& node) {
    return ktFindAttachment<osg::AmbientOcclusionSettingsAttachment>(node) != osg::NullFC;
}

QString ktStudioEdit::nameOf(const osg::NodePtr& node) {
    const char* const name = ktNodeUtils::getName(node);
    if (name && *name)
        return QString::fromUtf8(name);
    return osg::GeometryPtr::dcast(node->getCore()) != osg::NullFC ? tr("(surface)") : tr("(group)");
}

void ktStudioEdit::setHidden(const std::vector<osg::NodePtr>& nodes, bool hide) {
    if (std::any_of(nodes.begin(), nodes.end(), [hide](const osg::NodePtr& node) { return isHidden(node) != hide; }))
        document.undoStack().add(new ktHideCommand(hide ? tr("Hide") : tr("Show"), nodes, hide));
}

bool ktStudioEdit::showAll() {
    std::vector<osg::NodePtr> hidden, pending = document.getTopNodes();
    while (!pending.empty()) {
        const osg::NodePtr node = pending.back();
        pending.pop_back();
        if (isHidden(node))
            hidden.push_back(node);
        for (osg::UInt32 i = 0; i < node->getNChildren(); ++i)
            pending.push_back(node->getChild(i));
    }
    if (!hidden.empty())
        document.undoStack().add(new ktHideCommand(tr("Show everything"), hidden, false));
    return !hidden.empty();
}

void ktStudioEdit::setLocked(const std::vector<osg::NodePtr>& nodes, bool lock) {
    if (std::any_of(nodes.begin(), nodes.end(), [lock](const osg::NodePtr& node) { return isLocked(node) != lock; }))
        document.undoStack().add(new ktLockCommand(lock ? tr("Lock") : tr("Unlock"), nodes, lock));
}

std::vector<std::pair<std::string, std::string>> ktStudioEdit::getTexts(const osg::NodePtr& node) {
    std::vector<std::pair<std::string, std::string>> pairs;
    const auto texts = ktFindAttachment<osg::ValuePair>(node);
    for (osg::UInt32 i = 0; texts != osg::NullFC && i < texts->getSize(); ++i)
        pairs.emplace_back(texts->getKey(i), texts->getValue(i));
    return pairs;
}

void ktStudioEdit::setText(const osg::NodePtr& node, const std::string& key, const std::optional<std::string>& value) {
    const auto texts = ktFindAttachment<osg::ValuePair>(node);
    std::string old;
    const bool isThere = texts != osg::NullFC && texts->get(key, old);
    if (key.empty() || (value ? isThere && old == *value : !isThere))
        return;
    document.undoStack().add(new ktTextCommand(value ? tr("Change a text") : tr("Remove a text"), node, key, value));
}

void ktStudioEdit::renameText(const osg::NodePtr& node, const std::string& key, const std::string& newKey) {
    const auto texts = ktFindAttachment<osg::ValuePair>(node);
    std::string value, taken;
    if (newKey.empty() || texts == osg::NullFC || !texts->get(key, value) || texts->get(newKey, taken)) {
        ktScenegraph::update(true); // views show the old name again
        return;
    }
    document.undoStack().beginMacro(tr("Rename a text"));
    setText(node, newKey, value);
    setText(node, key, {});
    document.undoStack().endMacro();
}
