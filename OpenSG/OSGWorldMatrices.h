// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGWORLDMATRICES_H
#define OSGWORLDMATRICES_H

// This header is ours, and compiles with OpenSG 1.8, too.
#include "OSGMatrix.h"
#include "OSGNode.h"

#include <unordered_map>
#include <vector>

OSG_BEGIN_NAMESPACE

/// Calls a core's accumulateMatrix(), which is protected in OpenSG 1.8.
class CoreMatrix : private NodeCore {
public:
    static void accumulate(NodeCore& core, Matrix& matrix) { (core.*&CoreMatrix::accumulateMatrix)(matrix); }
};

/// World matrices of many nodes, bit for bit those of Node::getToWorld(). That of a parent is calculated once, so that
/// long chains take time in proportion to their length. Valid until a node or a transform changes.
class WorldMatrices {
public:
    const Matrix& get(const NodePtr& node) {
        _path.clear();
        NodePtr above = node;
        auto known = _known.end();
        while (above != NullFC && (known = _known.find(above.getCPtr())) == _known.end()) {
            _path.push_back(above);
            above = above->getParent();
        }
        Matrix matrix;
        if (known != _known.end())
            matrix = known->second;
        const Matrix* last = known != _known.end() ? &known->second : nullptr;
        for (auto next = _path.rbegin(); next != _path.rend(); ++next) {
            if ((*next)->getCore() != NullFC)
                CoreMatrix::accumulate(*(*next)->getCore(), matrix);
            last = &_known.emplace((*next).getCPtr(), matrix).first->second;
        }
        static const Matrix identity;
        return last ? *last : identity;
    }

private:
    std::unordered_map<const Node*, Matrix> _known;
    std::vector<NodePtr> _path;
};

OSG_END_NAMESPACE

#endif
