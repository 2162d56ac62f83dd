// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGBOXVOLUME_H
#define OSGBOXVOLUME_H

#include "OSGVolume.h"

OSG_BEGIN_NAMESPACE

/// An axis-aligned box.
class BoxVolume : public Volume {
public:
    BoxVolume() = default;
    BoxVolume(const Pnt3f& min, const Pnt3f& max) { setBounds(min, max); }
    BoxVolume(Real32 xmin, Real32 ymin, Real32 zmin, Real32 xmax, Real32 ymax, Real32 zmax) {
        setBounds(xmin, ymin, zmin, xmax, ymax, zmax);
    }

    const Pnt3f& getMin() const { return _min; }
    const Pnt3f& getMax() const { return _max; }
    void getCenter(Pnt3f& center) const override { center = _min + (_max - _min) * 0.5f; }
    Real32 getScalarVolume() const override;
    void getBounds(Pnt3f& min, Pnt3f& max) const override {
        min = _min;
        max = _max;
    }
    void getBounds(Real32& xmin, Real32& ymin, Real32& zmin, Real32& xmax, Real32& ymax, Real32& zmax) const;
    void getSize(Real32& sizeX, Real32& sizeY, Real32& sizeZ) const;
    void getSize(Vec3f& size) const { size = _max - _min; }

    // These make the box valid and not empty.
    void setBounds(const Pnt3f& min, const Pnt3f& max);
    void setBounds(Real32 xmin, Real32 ymin, Real32 zmin, Real32 xmax, Real32 ymax, Real32 zmax) {
        setBounds(Pnt3f(xmin, ymin, zmin), Pnt3f(xmax, ymax, zmax));
    }
    void setBoundsByCenterAndSize(const Pnt3f& center, const Vec3f& size) {
        setBounds(center - size * 0.5f, center + size * 0.5f);
    }

    void extendBy(const Pnt3f& pt) override;
    void extendBy(const Volume& volume) override;

    bool intersect(const Pnt3f& point) const override;
    bool intersect(const Line& line) const override;
    bool intersect(const Line& line, Real32& enter, Real32& exit) const override;
    bool intersect(const Volume& volume) const override;
    bool isOnSurface(const Pnt3f& point) const override;

    void transform(const Matrix& matrix) override;

    bool operator==(const BoxVolume& other) const { return _min == other._min && _max == other._max; }
    bool operator!=(const BoxVolume& other) const { return !(*this == other); }

private:
    Pnt3f _min;
    Pnt3f _max;
};

OSG_END_NAMESPACE

#endif
