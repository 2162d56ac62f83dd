// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGTRIANGLEITERATOR_H
#define OSGTRIANGLEITERATOR_H

#include "OSGPartIterator.h"

OSG_BEGIN_NAMESPACE

/// Iterates over the triangles of a geometry: of triangles, strips, fans, quads, quad strips and polygons (treated as
/// convex). All have the orientation of their primitive. Skips points and lines. Also skips triangles of strips with a
/// repeated index, which only connect parts of the strip.
///
/// "which" is a corner, 0 to 2; see PrimitiveIterator. getType() and getLength() refer to the primitive.
class TriangleIterator : public PartIterator<TriangleIterator, 3> {
public:
    TriangleIterator() = default;
    explicit TriangleIterator(const GeometryPtr& geometry) { setGeo(geometry); }
    explicit TriangleIterator(const NodePtr& node) { setGeo(node); }

private:
    friend class PartIterator<TriangleIterator, 3>;

    bool readPart();
    bool isLeftOut() const;
};

OSG_END_NAMESPACE

#endif
