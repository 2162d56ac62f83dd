// SPDX-License-Identifier: LGPL-2.1-or-later
// Splits the line primitives of a geometry into lines and edges.
#include "OSGLineIterator.h"

#include "OSGEdgeIterator.h"

OSG_BEGIN_NAMESPACE

bool LineIterator::readPart() {
    const Int32 n = Int32(_next);
    const Int32 length = Int32(getLength());
    switch (getType()) {
    case GL_LINES:
        return 2 * n + 1 < length && set(2 * n, 2 * n + 1);
    case GL_LINE_STRIP:
        return n + 1 < length && set(n, n + 1);
    case GL_LINE_LOOP:
        return length >= 2 && n < length && set(n, (n + 1) % length);
    default:
        return false;
    }
}

bool EdgeIterator::readPart() {
    const Int32 n = Int32(_next);
    const Int32 length = Int32(PrimitiveIterator::getLength());
    switch (getType()) {
    case GL_LINES:
        return 2 * n + 1 < length && set(2 * n, 2 * n + 1);
    case GL_LINE_STRIP:
    case GL_LINE_LOOP:
        return n == 0 && length >= 2 && set(0, 1);
    default:
        return false;
    }
}

OSG_END_NAMESPACE
