// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGLINE_H
#define OSGLINE_H

#include "OSGVector.h"

OSG_BEGIN_NAMESPACE

/// A ray: it starts at a position and runs in a direction of length 1.
class Line {
public:
    Line() : _dir(0, 0, 1) {}
    Line(const Pnt3f& position, const Vec3f& direction) { setValue(position, direction); }
    Line(const Pnt3f& from, const Pnt3f& through) { setValue(from, through); }

    /// Normalises the direction.
    void setValue(const Pnt3f& position, const Vec3f& direction) {
        _pos = position;
        _dir = direction;
        _dir.normalize();
    }
    void setValue(const Pnt3f& from, const Pnt3f& through) { setValue(from, through - from); }

    const Pnt3f& getPosition() const { return _pos; }
    const Vec3f& getDirection() const { return _dir; }

    /// The point of the straight line through the ray, in both directions, that is nearest to a point.
    Pnt3f getClosestPoint(const Pnt3f& point) const { return _pos + _dir * (point - _pos).dot(_dir); }
    /// Distance of the point to that line.
    Real32 distance(const Pnt3f& point) const { return (point - getClosestPoint(point)).length(); }

private:
    Pnt3f _pos;
    Vec3f _dir;
};

OSG_END_NAMESPACE

#endif
