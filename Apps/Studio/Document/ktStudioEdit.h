// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <OpenSG/OSGNode.h>
#include <optional>
#include <QObject>
#include <string>
#include <utility>
#include <vector>

class ktStudioDocument;

/// Changes of nodes, each one undo step. A change that changes nothing is no step. Main thread only.
class ktStudioEdit : public QObject {
    Q_OBJECT
public:
    explicit ktStudioEdit(ktStudioDocument& document_) : document(document_) {}

    /// Hidden nodes and all below them occlude nothing and get no results.
    void setHidden(const std::vector<osg::NodePtr>& nodes, bool isHidden);
    /// @return whether something was hidden
    bool showAll();
    /// Results and settings of locked nodes and of all below them do not change.
    void setLocked(const std::vector<osg::NodePtr>& nodes, bool isLocked);
    /// Sets a named text of a node; without a value, removes it.
    void setText(const osg::NodePtr& node, const std::string& key, const std::optional<std::string>& value);
    /// Gives a named text another name, which must not be taken. The text goes to the end.
    void renameText(const osg::NodePtr& node, const std::string& key, const std::string& newKey);

    static bool isHidden(const osg::NodePtr& node);
    static bool isLocked(const osg::NodePtr& node); ///< itself, not by a node above
    /// Names and values, in the order of the file.
    static std::vector<std::pair<std::string, std::string>> getTexts(const osg::NodePtr& node);
    /// Whether a calculation has stored its settings on the node.
    static bool hasSettings(const osg::NodePtr& node);
    /// What to call the node; never empty.
    static QString nameOf(const osg::NodePtr& node);

private:
    ktStudioDocument& document;
};
