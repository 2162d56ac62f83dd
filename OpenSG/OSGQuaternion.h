// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGQUATERNION_H
#define OSGQUATERNION_H

#include "OSGMatrix.h"

#include <ostream>

OSG_BEGIN_NAMESPACE

/// A rotation as a unit quaternion (x, y, z, w) with real part w.
template <class ValueTypeT>
class QuaternionBase {
public:
    using VectorType = Vector<ValueTypeT, 3>;
    using PointType = Point<ValueTypeT, 3>;
    using MatrixType = TransformationMatrix<ValueTypeT>;

    static const QuaternionBase& identity() {
        static const QuaternionBase quaternion;
        return quaternion;
    }
    /// Interpolates from rot0 (t = 0) to rot1 (t = 1) the shorter way.
    static QuaternionBase slerp(const QuaternionBase& rot0, const QuaternionBase& rot1, ValueTypeT t);

    QuaternionBase() = default;
    explicit QuaternionBase(const MatrixType& matrix) { setValue(matrix); }
    /// Rotation around axis by angle, in radians.
    QuaternionBase(const VectorType& axis, const ValueTypeT angle) { setValueAsAxisRad(axis, angle); }
    /// The shortest rotation from one direction to the other.
    QuaternionBase(const VectorType& rotateFrom, const VectorType& rotateTo) { setValue(rotateFrom, rotateTo); }

    void setIdentity() { *this = QuaternionBase(); }
    /// Axis (x, y, z) of any length, and angle w in radians or degrees. A zero axis gives the identity.
    void setValueAsAxisRad(ValueTypeT x, ValueTypeT y, ValueTypeT z, ValueTypeT w);
    void setValueAsAxisDeg(ValueTypeT x, ValueTypeT y, ValueTypeT z, ValueTypeT w) {
        setValueAsAxisRad(x, y, z, osgdegree2rad(w));
    }
    void setValueAsAxisRad(const VectorType& axis, ValueTypeT angle) {
        setValueAsAxisRad(axis[0], axis[1], axis[2], angle);
    }
    void setValueAsAxisDeg(const VectorType& axis, ValueTypeT angle) {
        setValueAsAxisDeg(axis[0], axis[1], axis[2], angle);
    }
    void setValueAsQuat(ValueTypeT x, ValueTypeT y, ValueTypeT z, ValueTypeT w) {
        _quat[0] = x;
        _quat[1] = y;
        _quat[2] = z;
        _quat[3] = w;
    }
    void setValueAsQuat(const ValueTypeT* values) { setValueAsQuat(values[0], values[1], values[2], values[3]); }
    /// From the upper left 3x3 part, which must be a rotation.
    void setValue(const MatrixType& matrix);
    void setValue(const VectorType& rotateFrom, const VectorType& rotateTo);
    /// Euler angles in radians: rotates first around x by alpha, then around y by beta, then around z by gamma.
    void setValue(ValueTypeT alpha, ValueTypeT beta, ValueTypeT gamma);

    const ValueTypeT* getValues() const { return _quat; }
    void getValueAsAxisRad(ValueTypeT& x, ValueTypeT& y, ValueTypeT& z, ValueTypeT& w) const;
    void getValueAsAxisDeg(ValueTypeT& x, ValueTypeT& y, ValueTypeT& z, ValueTypeT& w) const {
        getValueAsAxisRad(x, y, z, w);
        w = osgrad2degree(w);
    }
    void getValueAsAxisRad(VectorType& axis, ValueTypeT& radians) const {
        getValueAsAxisRad(axis[0], axis[1], axis[2], radians);
    }
    void getValueAsAxisDeg(VectorType& axis, ValueTypeT& degrees) const {
        getValueAsAxisDeg(axis[0], axis[1], axis[2], degrees);
    }
    void getValueAsQuat(ValueTypeT& x, ValueTypeT& y, ValueTypeT& z, ValueTypeT& w) const {
        x = _quat[0];
        y = _quat[1];
        z = _quat[2];
        w = _quat[3];
    }
    /// Writes the whole matrix; getValuesOnly writes only the upper left 3x3 part.
    void getValue(MatrixType& matrix) const {
        matrix.setIdentity();
        getValuesOnly(matrix);
    }
    void getValuesOnly(MatrixType& matrix) const;

    ValueTypeT x() const { return _quat[0]; }
    ValueTypeT y() const { return _quat[1]; }
    ValueTypeT z() const { return _quat[2]; }
    ValueTypeT w() const { return _quat[3]; }

    ValueTypeT length() const {
        return std::sqrt(_quat[0] * _quat[0] + _quat[1] * _quat[1] + _quat[2] * _quat[2] + _quat[3] * _quat[3]);
    }
    /// Scales to length 1. A zero quaternion becomes the identity.
    void normalize();
    void invert() {
        for (UInt32 i = 0; i < 3; ++i)
            _quat[i] = -_quat[i];
        normalize();
    }
    QuaternionBase inverse() const {
        QuaternionBase result(*this);
        result.invert();
        return result;
    }
    void multVec(const PointType& src, PointType& dst) const {
        MatrixType matrix;
        getValue(matrix);
        matrix.mult(src, dst);
    }
    /// Multiplies the angle of the rotation.
    void scaleAngle(ValueTypeT scaleFactor) {
        VectorType axis;
        ValueTypeT radians;
        getValueAsAxisRad(axis, radians);
        setValueAsAxisRad(axis, radians * scaleFactor);
    }
    void slerpThis(const QuaternionBase& rot0, const QuaternionBase& rot1, const ValueTypeT t) {
        *this = slerp(rot0, rot1, t);
    }
    /// this = this * other, normalised: other is applied first.
    void mult(const QuaternionBase& other);
    void multLeft(const QuaternionBase& other) {
        QuaternionBase result(other);
        result.mult(*this);
        *this = result;
    }
    /// Compares component by component. q and -q are the same rotation but not equal.
    bool equals(const QuaternionBase& rot, ValueTypeT tolerance) const;

    ValueTypeT& operator[](const UInt32 index) { return _quat[index]; }
    const ValueTypeT& operator[](const UInt32 index) const { return _quat[index]; }
    void operator*=(const QuaternionBase& other) { mult(other); }
    bool operator==(const QuaternionBase& other) const { return equals(other, ValueTypeT(Eps)); }
    bool operator!=(const QuaternionBase& other) const { return !(*this == other); }

private:
    ValueTypeT _quat[4] = {0, 0, 0, 1};
};

using Quaternion = QuaternionBase<Real32>;

template <class ValueTypeT>
std::ostream& operator<<(std::ostream& os, const QuaternionBase<ValueTypeT>& quaternion) {
    return os << quaternion[0] << ' ' << quaternion[1] << ' ' << quaternion[2] << ' ' << quaternion[3];
}

OSG_END_NAMESPACE

#include "OSGQuaternion.inl"

#endif
