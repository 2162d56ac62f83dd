// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGWORLDMATRICES_H
#define OSGWORLDMATRICES_H

#include "OSGMatrix.h"
#include "OSGNode.h"

#include <unordered_map>
#include <vector>

OSG_BEGIN_NAMESPACE

/// World matrices of many nodes, bit for bit those of Node::getToWorld(). That of a parent is calculated once, so that
/// long chains take time in proportion to their length. Valid until a node or a transform changes.
class WorldMatrices {
public:
    const Matrix& get(const NodePtr& node);

private:
    std::unordered_map<const Node*, Matrix> _known;
    std::vector<NodePtr> _path;
};

OSG_END_NAMESPACE

#endif
