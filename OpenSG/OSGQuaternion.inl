// SPDX-License-Identifier: LGPL-2.1-or-later
// Operations of QuaternionBase; included by OSGQuaternion.h.

OSG_BEGIN_NAMESPACE

template <class ValueTypeT>
inline QuaternionBase<ValueTypeT> QuaternionBase<ValueTypeT>::slerp(const QuaternionBase& rot0,
                                                                    const QuaternionBase& rot1, const ValueTypeT t) {
    // Ken Shoemake, Animating Rotation with Quaternion Curves, 1985.
    Real64 cosine = 0.0;
    for (UInt32 i = 0; i < 4; ++i)
        cosine += Real64(rot0[i]) * rot1[i];
    const Real64 sign = cosine < 0.0 ? -1.0 : 1.0;
    const Real64 angle = std::acos(osgMin(1.0, cosine * sign));
    const Real64 sine = std::sin(angle);
    const bool close = sine < 1e-6;
    const Real64 part0 = close ? 1.0 - t : std::sin((1.0 - t) * angle) / sine;
    const Real64 part1 = sign * (close ? Real64(t) : std::sin(t * angle) / sine);
    QuaternionBase result;
    for (UInt32 i = 0; i < 4; ++i)
        result[i] = ValueTypeT(part0 * rot0[i] + part1 * rot1[i]);
    result.normalize();
    return result;
}

template <class ValueTypeT>
inline void QuaternionBase<ValueTypeT>::setValueAsAxisRad(const ValueTypeT x, const ValueTypeT y, const ValueTypeT z,
                                                          const ValueTypeT w) {
    const ValueTypeT axisLength = std::sqrt(x * x + y * y + z * z);
    if (!(axisLength > ValueTypeT(Eps))) {
        setIdentity();
        return;
    }
    const ValueTypeT factor = std::sin(w / 2) / axisLength;
    setValueAsQuat(x * factor, y * factor, z * factor, std::cos(w / 2));
}

template <class ValueTypeT>
inline void QuaternionBase<ValueTypeT>::setValue(const MatrixType& matrix) {
    // Takes the largest component from the diagonal, to avoid division by a small number.
    const auto m = [&matrix](const UInt32 row, const UInt32 column) { return Real64(matrix[column][row]); };
    const Real64 squares[4] = {1.0 + m(0, 0) - m(1, 1) - m(2, 2), 1.0 - m(0, 0) + m(1, 1) - m(2, 2),
                               1.0 - m(0, 0) - m(1, 1) + m(2, 2), 1.0 + m(0, 0) + m(1, 1) + m(2, 2)};
    UInt32 largest = 3;
    for (UInt32 i = 0; i < 3; ++i)
        if (squares[i] > squares[largest])
            largest = i;

    Real64 q[4];
    q[largest] = std::sqrt(osgMax(squares[largest], 0.0)) / 2.0;
    const Real64 f = q[largest] > 0.0 ? 0.25 / q[largest] : 0.0;
    if (largest == 3) {
        q[0] = (m(2, 1) - m(1, 2)) * f;
        q[1] = (m(0, 2) - m(2, 0)) * f;
        q[2] = (m(1, 0) - m(0, 1)) * f;
    } else {
        const UInt32 i = largest, j = (i + 1) % 3, k = (i + 2) % 3;
        q[j] = (m(i, j) + m(j, i)) * f;
        q[k] = (m(i, k) + m(k, i)) * f;
        q[3] = (m(k, j) - m(j, k)) * f;
    }
    setValueAsQuat(ValueTypeT(q[0]), ValueTypeT(q[1]), ValueTypeT(q[2]), ValueTypeT(q[3]));
}

template <class ValueTypeT>
inline void QuaternionBase<ValueTypeT>::setValue(const VectorType& rotateFrom, const VectorType& rotateTo) {
    VectorType from = rotateFrom;
    VectorType to = rotateTo;
    from.normalize();
    to.normalize();
    const ValueTypeT cosine = from.dot(to);
    if (cosine > ValueTypeT(0.99999)) {
        setIdentity();
    } else if (cosine < ValueTypeT(-0.99999)) {
        // Opposite directions: half a turn around any perpendicular axis.
        VectorType axis = from.cross(VectorType(1, 0, 0));
        if (axis.length() < ValueTypeT(0.00001))
            axis = from.cross(VectorType(0, 1, 0));
        setValueAsAxisRad(axis, ValueTypeT(Pi));
    } else {
        VectorType axis = from.cross(to);
        axis.normalize();
        axis *= ValueTypeT(std::sqrt((1 - cosine) / 2));
        setValueAsQuat(axis[0], axis[1], axis[2], ValueTypeT(std::sqrt((1 + cosine) / 2)));
    }
}

template <class ValueTypeT>
inline void QuaternionBase<ValueTypeT>::setValue(const ValueTypeT alpha, const ValueTypeT beta,
                                                 const ValueTypeT gamma) {
    QuaternionBase aroundX, aroundY;
    aroundX.setValueAsAxisRad(1, 0, 0, alpha);
    aroundY.setValueAsAxisRad(0, 1, 0, beta);
    setValueAsAxisRad(0, 0, 1, gamma);
    mult(aroundY);
    mult(aroundX);
}

template <class ValueTypeT>
inline void QuaternionBase<ValueTypeT>::getValueAsAxisRad(ValueTypeT& x, ValueTypeT& y, ValueTypeT& z,
                                                          ValueTypeT& w) const {
    VectorType axis(_quat[0], _quat[1], _quat[2]);
    const ValueTypeT len = axis.length();
    if (len > ValueTypeT(Eps)) {
        axis /= len;
        w = 2 * std::acos(osgClamp(ValueTypeT(-1), _quat[3], ValueTypeT(1)));
    } else {
        axis.setValues(0, 0, 1);
        w = 0;
    }
    x = axis[0];
    y = axis[1];
    z = axis[2];
}

template <class ValueTypeT>
inline void QuaternionBase<ValueTypeT>::getValuesOnly(MatrixType& matrix) const {
    const ValueTypeT x = _quat[0], y = _quat[1], z = _quat[2], w = _quat[3];
    matrix[0][0] = 1 - 2 * (y * y + z * z);
    matrix[0][1] = 2 * (x * y + z * w);
    matrix[0][2] = 2 * (x * z - y * w);
    matrix[1][0] = 2 * (x * y - z * w);
    matrix[1][1] = 1 - 2 * (x * x + z * z);
    matrix[1][2] = 2 * (y * z + x * w);
    matrix[2][0] = 2 * (x * z + y * w);
    matrix[2][1] = 2 * (y * z - x * w);
    matrix[2][2] = 1 - 2 * (x * x + y * y);
}

template <class ValueTypeT>
inline void QuaternionBase<ValueTypeT>::normalize() {
    const ValueTypeT len = length();
    if (!(len > ValueTypeT(0))) {
        setIdentity();
        return;
    }
    for (ValueTypeT& value : _quat)
        value /= len;
}

template <class ValueTypeT>
inline void QuaternionBase<ValueTypeT>::mult(const QuaternionBase& other) {
    const ValueTypeT* a = _quat;
    const ValueTypeT* b = other._quat;
    QuaternionBase result;
    result.setValueAsQuat(
        a[3] * b[0] + a[0] * b[3] + a[1] * b[2] - a[2] * b[1], a[3] * b[1] - a[0] * b[2] + a[1] * b[3] + a[2] * b[0],
        a[3] * b[2] + a[0] * b[1] - a[1] * b[0] + a[2] * b[3], a[3] * b[3] - a[0] * b[0] - a[1] * b[1] - a[2] * b[2]);
    result.normalize();
    *this = result;
}

template <class ValueTypeT>
inline bool QuaternionBase<ValueTypeT>::equals(const QuaternionBase& rot, const ValueTypeT tolerance) const {
    for (UInt32 i = 0; i < 4; ++i)
        if (!(_quat[i] - rot._quat[i] <= tolerance && rot._quat[i] - _quat[i] <= tolerance))
            return false;
    return true;
}

OSG_END_NAMESPACE
