// SPDX-License-Identifier: LGPL-2.1-or-later
// Reads and changes the host's selection.
#include "ktStudioSelection.h"

#include "ktHostSignals.h"
#include "ktMissingResults.h"
#include "ktScenegraph.h"
#include "ktSceneState.h"

#include <algorithm>

ktStudioSelection::ktStudioSelection(QObject* parent) : QObject(parent) {
    connect(&ktHostSignals::the(), &ktHostSignals::selectionChanged, this, &ktStudioSelection::changed);
}

std::vector<osg::NodePtr> ktStudioSelection::get() const {
    std::vector<osg::NodePtr> nodes = ktScenegraph::getSelectedRootNodes();
    nodes.erase(std::remove(nodes.begin(), nodes.end(), osg::NodePtr()), nodes.end());
    return nodes;
}

void ktStudioSelection::set(const std::vector<osg::NodePtr>& nodes) {
    if (!isFrozen)
        ktSceneState::setSelection(nodes);
}

void ktStudioSelection::toggle(const std::vector<osg::NodePtr>& nodes) {
    std::vector<osg::NodePtr> all = get();
    for (const osg::NodePtr& node : nodes) {
        const auto found = std::find(all.begin(), all.end(), node);
        if (found == all.end())
            all.push_back(node);
        else
            all.erase(found);
    }
    set(all);
}

bool ktStudioSelection::selectMissing(const std::vector<osg::NodePtr>& roots) {
    const std::vector<osg::NodePtr> missing = findMissing(roots);
    if (!missing.empty())
        set(missing);
    return !missing.empty();
}

int ktStudioSelection::selectByText(const QString& text) {
    const std::vector<osg::NodePtr> found = ktSceneState::findNodes(text.toStdString());
    if (!found.empty())
        set(found);
    return static_cast<int>(found.size());
}
