// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktNodePtr.h"

#include <QObject>
#include <QString>
#include <vector>

/// The host's selection, as panels and viewport use it. While it is frozen, nothing changes it. Main thread only.
class ktStudioSelection : public QObject {
    Q_OBJECT
public:
    explicit ktStudioSelection(QObject* parent = nullptr);

    /// The selected nodes without those below another selected node.
    std::vector<osg::NodePtr> get() const;
    bool isEmpty() const { return get().empty(); }

    void set(const std::vector<osg::NodePtr>& nodes);
    /// Adds the nodes; removes those that were selected.
    void toggle(const std::vector<osg::NodePtr>& nodes);
    void clear() { set({}); }
    /// Selects the topmost nodes below which requested results are missing; returns whether there are any.
    bool selectMissing(const std::vector<osg::NodePtr>& roots);
    /// Selects what a name or a path with wildcards names, as `ktbake --select`. Without a match, nothing changes.
    /// @return number of nodes found
    int selectByText(const QString& text);

    void setFrozen(bool frozen) { isFrozen = frozen; }

signals:
    void changed();

private:
    bool isFrozen = false;
};
