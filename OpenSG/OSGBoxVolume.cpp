// SPDX-License-Identifier: LGPL-2.1-or-later
// Axis-aligned bounding boxes: extension, intersection with points, lines and volumes, and transformation.
#include "OSGBoxVolume.h"

OSG_BEGIN_NAMESPACE

Real32 BoxVolume::getScalarVolume() const {
    const Vec3f size = _max - _min;
    return isEmpty() ? 0.0f : size[0] * size[1] * size[2];
}

void BoxVolume::getBounds(Real32& xmin, Real32& ymin, Real32& zmin, Real32& xmax, Real32& ymax, Real32& zmax) const {
    xmin = _min[0];
    ymin = _min[1];
    zmin = _min[2];
    xmax = _max[0];
    ymax = _max[1];
    zmax = _max[2];
}

void BoxVolume::getSize(Real32& sizeX, Real32& sizeY, Real32& sizeZ) const {
    sizeX = _max[0] - _min[0];
    sizeY = _max[1] - _min[1];
    sizeZ = _max[2] - _min[2];
}

void BoxVolume::setBounds(const Pnt3f& min, const Pnt3f& max) {
    _min = min;
    _max = max;
    setValid();
    setEmpty(false);
}

void BoxVolume::extendBy(const Pnt3f& pt) {
    if (isUntouchable())
        return;
    if (isEmpty()) {
        setBounds(pt, pt);
        return;
    }
    for (UInt32 i = 0; i < 3; ++i) {
        _min[i] = osgMin(_min[i], pt[i]);
        _max[i] = osgMax(_max[i], pt[i]);
    }
}

void BoxVolume::extendBy(const Volume& volume) {
    if (isUntouchable() || volume.isEmpty())
        return;
    if (volume.isInfinite())
        setInfinite();
    Pnt3f min, max;
    volume.getBounds(min, max);
    extendBy(min);
    extendBy(max);
}

bool BoxVolume::intersect(const Pnt3f& point) const {
    if (isEmpty())
        return false;
    if (isInfinite())
        return true;
    for (UInt32 i = 0; i < 3; ++i)
        if (!(point[i] > _min[i] && point[i] < _max[i]))
            return false;
    return true;
}

bool BoxVolume::intersect(const Line& line) const {
    Real32 enter = 0.0f, exit = 0.0f;
    return intersect(line, enter, exit);
}

bool BoxVolume::intersect(const Line& line, Real32& enter, Real32& exit) const {
    if (isEmpty())
        return false;
    // Slab test: clips the line against each pair of parallel planes.
    Real32 from = 0.0f;
    Real32 to = TypeTraits<Real32>::getMax();
    for (UInt32 i = 0; i < 3 && !isInfinite(); ++i) {
        const Real32 position = line.getPosition()[i];
        const Real32 direction = line.getDirection()[i];
        if (direction == 0.0f) {
            if (position < _min[i] || position > _max[i])
                return false;
            continue;
        }
        const Real32 a = (_min[i] - position) / direction;
        const Real32 b = (_max[i] - position) / direction;
        from = osgMax(from, osgMin(a, b));
        to = osgMin(to, osgMax(a, b));
    }
    if (from > to)
        return false;
    enter = from;
    exit = to;
    return true;
}

bool BoxVolume::intersect(const Volume& volume) const {
    if (isEmpty() || volume.isEmpty())
        return false;
    if (isInfinite() || volume.isInfinite())
        return true;
    Pnt3f min, max;
    volume.getBounds(min, max);
    for (UInt32 i = 0; i < 3; ++i)
        if (max[i] < _min[i] || min[i] > _max[i])
            return false;
    return true;
}

bool BoxVolume::isOnSurface(const Pnt3f& point) const {
    if (isEmpty() || isInfinite())
        return false;
    bool onFace = false;
    for (UInt32 i = 0; i < 3; ++i) {
        if (point[i] < _min[i] - Eps || point[i] > _max[i] + Eps)
            return false;
        onFace = onFace || osgabs(point[i] - _min[i]) < Eps || osgabs(point[i] - _max[i]) < Eps;
    }
    return onFace;
}

void BoxVolume::transform(const Matrix& matrix) {
    if (isEmpty() || isInfinite())
        return;
    // Each row of the image is a sum of intervals (Jim Arvo, Transforming Axis-Aligned Bounding Boxes, 1990).
    const Pnt3f oldMin = _min;
    const Pnt3f oldMax = _max;
    for (UInt32 row = 0; row < 3; ++row) {
        _min[row] = _max[row] = matrix[3][row];
        for (UInt32 column = 0; column < 3; ++column) {
            const Real32 a = matrix[column][row] * oldMin[column];
            const Real32 b = matrix[column][row] * oldMax[column];
            _min[row] += osgMin(a, b);
            _max[row] += osgMax(a, b);
        }
    }
}

OSG_END_NAMESPACE
