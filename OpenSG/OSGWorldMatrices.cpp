// SPDX-License-Identifier: LGPL-2.1-or-later
// Calculates world matrices of many nodes and keeps them.
#include "OSGWorldMatrices.h"

OSG_BEGIN_NAMESPACE

const Matrix& WorldMatrices::get(const NodePtr& node) {
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
            (*next)->getCore()->accumulateMatrix(matrix);
        last = &_known.emplace((*next).getCPtr(), matrix).first->second;
    }
    static const Matrix identity;
    return last ? *last : identity;
}

OSG_END_NAMESPACE
