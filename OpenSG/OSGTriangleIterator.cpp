// SPDX-License-Identifier: LGPL-2.1-or-later
// Splits the primitives of a geometry into triangles, and skips those that only join strips.
#include "OSGTriangleIterator.h"

OSG_BEGIN_NAMESPACE

void TriangleIterator::startTriangles() {
    _triIndex = 0;
    _next = 0;
    findTriangle();
}

void TriangleIterator::seek(const Int32 index) {
    setToBegin();
    while (!isAtEnd() && getIndex() < index)
        ++*this;
}

void TriangleIterator::operator++() {
    if (isAtEnd())
        return;
    ++_triIndex;
    findTriangle();
}

void TriangleIterator::findTriangle() {
    while (!isAtEnd()) {
        while (readTriangle()) {
            const bool strip = getType() == GL_TRIANGLE_STRIP || getType() == GL_QUAD_STRIP;
            if (!strip)
                return;
            const Int32 a = getPositionIndex(0), b = getPositionIndex(1), c = getPositionIndex(2);
            if (a != b && b != c && c != a)
                return;
        }
        Inherited::operator++();
        _next = 0;
    }
}

// Sets the corners to triangle _next of the primitive and increments _next. False if there is no such triangle.
bool TriangleIterator::readTriangle() {
    const Int32 n = Int32(_next);
    const Int32 length = Int32(getLength());
    const auto set = [this](const Int32 a, const Int32 b, const Int32 c) {
        _corner[0] = a;
        _corner[1] = b;
        _corner[2] = c;
        ++_next;
        return true;
    };
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
