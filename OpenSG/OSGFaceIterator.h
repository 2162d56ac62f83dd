// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGFACEITERATOR_H
#define OSGFACEITERATOR_H

#include "OSGPartIterator.h"

OSG_BEGIN_NAMESPACE

/// Iterates over the faces of a geometry: triangles of triangles, strips and fans, quads of quads, quad strips and
/// polygons with four corners, and the triangles of other polygons. Skips points, lines, and triangles that only
/// connect parts of a strip.
class FaceIterator : public PartIterator<FaceIterator, 4> {
public:
    FaceIterator() = default;
    explicit FaceIterator(const GeometryPtr& geometry) { setGeo(geometry); }
    explicit FaceIterator(const NodePtr& node) { setGeo(node); }

    /// Number of corners, 3 or 4.
    UInt32 getLength() const { return _corner[3] < 0 ? 3 : 4; }

private:
    friend class PartIterator<FaceIterator, 4>;

    bool readPart();
    bool isLeftOut() const;
};

OSG_END_NAMESPACE

#endif
