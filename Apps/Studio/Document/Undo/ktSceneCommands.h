// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktResultState.h"
#include "ktSceneCommand.h"

#include <OpenSG/OSGNode.h>
#include <OpenSG/OSGRefPtr.h>
#include <optional>
#include <string>
#include <vector>

/// A run or a clearing that is done already: undo and redo swap the results.
class ktResultsCommand : public ktSceneCommand {
public:
    /// @param before what was there before, reduced to what has changed
    ktResultsCommand(const QString& text, ktResultState before);
    void undo() override;
    void redo() override;

private:
    ktResultState other; ///< the state that is not in the scene
    bool isDone = true;
};

/// Locks nodes, or unlocks them.
class ktLockCommand : public ktSceneCommand {
public:
    ktLockCommand(const QString& text, const std::vector<osg::NodePtr>& nodes, bool isLocked);
    void undo() override;
    void redo() override;

private:
    std::vector<osg::NodeRefPtr> nodes; ///< those that change
    const bool isLocked;
};

/// Hides nodes, or shows them. Hidden parts occlude nothing and get no results; the file does not keep it.
class ktHideCommand : public ktUndoCommand {
public:
    ktHideCommand(const QString& text, const std::vector<osg::NodePtr>& nodes, bool isHidden);
    void undo() override;
    void redo() override;

private:
    std::vector<osg::NodeRefPtr> nodes; ///< those that change
    const bool isHidden;
};

/// Sets or removes a named text of a node (osg::ValuePair).
class ktTextCommand : public ktSceneCommand {
public:
    /// @param value empty: removes the text
    ktTextCommand(const QString& text, const osg::NodePtr& node, std::string key, std::optional<std::string> value);
    void undo() override { swap(); }
    void redo() override { swap(); }

private:
    void swap();

    const osg::NodeRefPtr node;
    const std::string key;
    std::optional<std::string> value; ///< that is not on the node
};
