// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGEDGEITERATOR_H
#define OSGEDGEITERATOR_H

#include "OSGPartIterator.h"

OSG_BEGIN_NAMESPACE

/// Iterates over the edges of a geometry: each line of lines is one, and so is each line strip or line loop as a whole.
/// Skips points and surfaces.
///
/// "which" is an end of a line, 0 or 1, or a vertex of a strip or loop.
class EdgeIterator : public PartIterator<EdgeIterator, 2> {
public:
    EdgeIterator() = default;
    explicit EdgeIterator(const GeometryPtr& geometry) { setGeo(geometry); }
    explicit EdgeIterator(const NodePtr& node) { setGeo(node); }

    /// Number of vertices: 2 for a line, that of the primitive for a strip or loop.
    UInt32 getLength() const { return getType() == GL_LINES ? 2 : PrimitiveIterator::getLength(); }

private:
    friend class PartIterator<EdgeIterator, 2>;

    bool readPart();
    Int32 getCorner(const Int32 which) const { return getType() == GL_LINES ? _corner[which] : which; }
};

OSG_END_NAMESPACE

#endif
