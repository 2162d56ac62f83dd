// SPDX-License-Identifier: LGPL-2.1-or-later
// Splits the primitives of a geometry into faces with three or four corners.
#include "OSGFaceIterator.h"

OSG_BEGIN_NAMESPACE

bool FaceIterator::isLeftOut() const {
    return getType() == GL_TRIANGLE_STRIP && isConnection();
}

bool FaceIterator::readPart() {
    const Int32 n = Int32(_next);
    const Int32 length = Int32(PrimitiveIterator::getLength());
    switch (getType()) {
    case GL_TRIANGLES:
        return 3 * n + 2 < length && set(3 * n, 3 * n + 1, 3 * n + 2);
    case GL_TRIANGLE_STRIP:
        return n + 2 < length && (n % 2 == 0 ? set(n, n + 1, n + 2) : set(n + 1, n, n + 2));
    case GL_POLYGON:
        if (length == 4)
            return n == 0 && set(0, 1, 2, 3);
        return n + 2 < length && set(0, n + 1, n + 2);
    case GL_TRIANGLE_FAN:
        return n + 2 < length && set(0, n + 1, n + 2);
    case GL_QUADS:
        return 4 * n + 3 < length && set(4 * n, 4 * n + 1, 4 * n + 2, 4 * n + 3);
    case GL_QUAD_STRIP:
        return 2 * n + 3 < length && set(2 * n, 2 * n + 1, 2 * n + 3, 2 * n + 2);
    default:
        return false;
    }
}

OSG_END_NAMESPACE
