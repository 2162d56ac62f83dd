// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGLINEITERATOR_H
#define OSGLINEITERATOR_H

#include "OSGPartIterator.h"

OSG_BEGIN_NAMESPACE

/// Iterates over the lines of a geometry: of lines, line strips and line loops. Skips points and surfaces.
///
/// "which" is an end, 0 or 1. getLength() refers to the primitive.
class LineIterator : public PartIterator<LineIterator, 2> {
public:
    LineIterator() = default;
    explicit LineIterator(const GeometryPtr& geometry) { setGeo(geometry); }
    explicit LineIterator(const NodePtr& node) { setGeo(node); }

private:
    friend class PartIterator<LineIterator, 2>;

    bool readPart();
};

OSG_END_NAMESPACE

#endif
