// SPDX-License-Identifier: LGPL-2.1-or-later
// Splits the primitives of a geometry into triangles, and skips those that only join strips.
#include "OSGTriangleIterator.h"

OSG_BEGIN_NAMESPACE

bool TriangleIterator::isLeftOut() const {
    return (getType() == GL_TRIANGLE_STRIP || getType() == GL_QUAD_STRIP) && isConnection();
}

bool TriangleIterator::readPart() {
    const Int32 n = Int32(_next);
    const Int32 length = Int32(getLength());
    switch (getType()) {
    case GL_TRIANGLES:
        return 3 * n + 2 < length && set(3 * n, 3 * n + 1, 3 * n + 2);
    case GL_TRIANGLE_STRIP:
    case GL_QUAD_STRIP:
        // Every second triangle of a strip has the opposite orientation. A quad strip of odd length ends before its
        // last vertex, which has no partner.
        if (getType() == GL_QUAD_STRIP && n + 2 >= length - length % 2)
            return false;
        return n + 2 < length && (n % 2 == 0 ? set(n, n + 1, n + 2) : set(n + 1, n, n + 2));
    case GL_TRIANGLE_FAN:
    case GL_POLYGON:
        return n + 2 < length && set(0, n + 1, n + 2);
    case GL_QUADS: {
        const Int32 first = 4 * (n / 2);
        if (first + 3 >= length)
            return false;
        return n % 2 == 0 ? set(first, first + 1, first + 2) : set(first, first + 2, first + 3);
    }
    default:
        return false;
    }
}

OSG_END_NAMESPACE
