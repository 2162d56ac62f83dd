// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGVOLUME_H
#define OSGVOLUME_H

#include "OSGLine.h"
#include "OSGMatrix.h"

OSG_BEGIN_NAMESPACE

/// The state of a bounding volume.
///
/// valid: it is up to date. empty: it contains no point. static: it is never recalculated. infinite: it contains all
/// points. A new volume is valid and empty.
class VolumeState {
public:
    /// A static volume keeps its validity.
    void setValid(const bool value = true) {
        if (!isStatic())
            setFlag(ValidFlag, value);
    }
    bool isValid() const { return (_state & ValidFlag) != 0; }
    void setEmpty(const bool value = true) {
        setFlag(EmptyFlag, value);
        if (value) {
            setFlag(ValidFlag, true);
            setFlag(InfiniteFlag, false);
        }
    }
    bool isEmpty() const { return (_state & EmptyFlag) != 0; }
    void setStatic(const bool value = true) { setFlag(StaticFlag, value); }
    bool isStatic() const { return (_state & StaticFlag) != 0; }
    void setInfinite(const bool value = true) {
        setFlag(InfiniteFlag, value);
        if (value) {
            setFlag(ValidFlag, true);
            setFlag(EmptyFlag, false);
        }
    }
    bool isInfinite() const { return (_state & InfiniteFlag) != 0; }
    /// True if extendBy() has no effect: infinite, static or not valid.
    bool isUntouchable() const { return (_state & (InfiniteFlag | ValidFlag | StaticFlag)) != ValidFlag; }
    UInt16 getState() const { return _state; }
    void setState(const UInt16 state) { _state = state; }

private:
    enum Flag : UInt16 { ValidFlag = 1, EmptyFlag = 2, StaticFlag = 4, InfiniteFlag = 8 };

    void setFlag(const Flag flag, const bool value) { _state = UInt16(value ? _state | flag : _state & ~flag); }

    UInt16 _state = ValidFlag | EmptyFlag;
};

/// Base class of bounding volumes.
class Volume : public VolumeState {
public:
    virtual ~Volume() = default;

    virtual void getCenter(Pnt3f& center) const = 0;
    /// Its size in cubic units; 0 if empty.
    virtual Real32 getScalarVolume() const = 0;
    /// Corners of its axis-aligned bounding box.
    virtual void getBounds(Pnt3f& min, Pnt3f& max) const = 0;

    /// Extends the volume to contain the argument.
    virtual void extendBy(const Pnt3f& pt) = 0;
    virtual void extendBy(const Volume& volume) = 0;

    /// True if they have a common point. A point on the border is outside.
    virtual bool intersect(const Pnt3f& point) const = 0;
    virtual bool intersect(const Line& line) const = 0;
    /// enter and exit: distances along the line, set if the result is true. enter is 0 if the line starts inside.
    virtual bool intersect(const Line& line, Real32& enter, Real32& exit) const = 0;
    virtual bool intersect(const Volume& volume) const = 0;
    /// With tolerance Eps.
    virtual bool isOnSurface(const Pnt3f& point) const = 0;

    /// Becomes a volume around its image under the matrix.
    virtual void transform(const Matrix& matrix) = 0;

protected:
    Volume() = default;
    Volume(const Volume&) = default;
    Volume& operator=(const Volume&) = default;
};

OSG_END_NAMESPACE

#endif
