// SPDX-License-Identifier: LGPL-2.1-or-later
// Elementary operations of TransformationMatrix; included by OSGMatrix.h.

OSG_BEGIN_NAMESPACE

template <class ValueTypeT>
inline const TransformationMatrix<ValueTypeT>& TransformationMatrix<ValueTypeT>::identity() {
    static const TransformationMatrix matrix;
    return matrix;
}

template <class ValueTypeT>
inline void TransformationMatrix<ValueTypeT>::setIdentity() {
    for (UInt32 i = 0; i < 4; ++i) {
        _matrix[i].setNull();
        _matrix[i][i] = ValueTypeT(1);
    }
}

template <class ValueTypeT>
inline void TransformationMatrix<ValueTypeT>::setValue(const VectorType3f& column0, const VectorType3f& column1,
                                                       const VectorType3f& column2) {
    _matrix[0].setValue(column0);
    _matrix[1].setValue(column1);
    _matrix[2].setValue(column2);
}

template <class ValueTypeT>
inline void TransformationMatrix<ValueTypeT>::setValue(const VectorType3f& column0, const VectorType3f& column1,
                                                       const VectorType3f& column2, const VectorType3f& column3) {
    setValue(column0, column1, column2);
    _matrix[3].setValue(column3);
}

template <class ValueTypeT>
inline void TransformationMatrix<ValueTypeT>::setValue(
    const ValueTypeT rVal00, const ValueTypeT rVal10, const ValueTypeT rVal20, const ValueTypeT rVal30,
    const ValueTypeT rVal01, const ValueTypeT rVal11, const ValueTypeT rVal21, const ValueTypeT rVal31,
    const ValueTypeT rVal02, const ValueTypeT rVal12, const ValueTypeT rVal22, const ValueTypeT rVal32,
    const ValueTypeT rVal03, const ValueTypeT rVal13, const ValueTypeT rVal23, const ValueTypeT rVal33) {
    setValueTransposed(rVal00, rVal01, rVal02, rVal03, rVal10, rVal11, rVal12, rVal13, rVal20, rVal21, rVal22, rVal23,
                       rVal30, rVal31, rVal32, rVal33);
}

template <class ValueTypeT>
inline void TransformationMatrix<ValueTypeT>::setValueTransposed(
    const ValueTypeT rVal00, const ValueTypeT rVal01, const ValueTypeT rVal02, const ValueTypeT rVal03,
    const ValueTypeT rVal10, const ValueTypeT rVal11, const ValueTypeT rVal12, const ValueTypeT rVal13,
    const ValueTypeT rVal20, const ValueTypeT rVal21, const ValueTypeT rVal22, const ValueTypeT rVal23,
    const ValueTypeT rVal30, const ValueTypeT rVal31, const ValueTypeT rVal32, const ValueTypeT rVal33) {
    _matrix[0].setValues(rVal00, rVal01, rVal02, rVal03);
    _matrix[1].setValues(rVal10, rVal11, rVal12, rVal13);
    _matrix[2].setValues(rVal20, rVal21, rVal22, rVal23);
    _matrix[3].setValues(rVal30, rVal31, rVal32, rVal33);
}

template <class ValueTypeT>
inline void TransformationMatrix<ValueTypeT>::setValue(const ValueTypeT* values, const bool transposed) {
    for (UInt32 column = 0; column < 4; ++column)
        for (UInt32 row = 0; row < 4; ++row)
            _matrix[column][row] = transposed ? values[4 * column + row] : values[4 * row + column];
}

template <class ValueTypeT>
inline void TransformationMatrix<ValueTypeT>::setValue(const VectorType* columns) {
    for (UInt32 i = 0; i < 4; ++i)
        _matrix[i] = columns[i];
}

template <class ValueTypeT>
inline void TransformationMatrix<ValueTypeT>::setScale(const ValueTypeT sx, const ValueTypeT sy, const ValueTypeT sz) {
    _matrix[0][0] = sx;
    _matrix[1][1] = sy;
    _matrix[2][2] = sz;
}

template <class ValueTypeT>
inline void TransformationMatrix<ValueTypeT>::setTranslate(const ValueTypeT tx, const ValueTypeT ty,
                                                           const ValueTypeT tz) {
    _matrix[3][0] = tx;
    _matrix[3][1] = ty;
    _matrix[3][2] = tz;
}

template <class ValueTypeT>
inline void TransformationMatrix<ValueTypeT>::mult(const PointType3f& pntIn, PointType3f& pntOut) const {
    PointType3f result;
    for (UInt32 row = 0; row < 3; ++row)
        result[row] =
            _matrix[0][row] * pntIn[0] + _matrix[1][row] * pntIn[1] + _matrix[2][row] * pntIn[2] + _matrix[3][row];
    pntOut = result;
}

template <class ValueTypeT>
inline void TransformationMatrix<ValueTypeT>::mult(const PointType& pntIn, PointType& pntOut) const {
    PointType result;
    for (UInt32 row = 0; row < 4; ++row)
        result[row] = _matrix[0][row] * pntIn[0] + _matrix[1][row] * pntIn[1] + _matrix[2][row] * pntIn[2] +
                      _matrix[3][row] * pntIn[3];
    pntOut = result;
}

template <class ValueTypeT>
inline void TransformationMatrix<ValueTypeT>::multFull(const PointType3f& pntIn, PointType3f& pntOut) const {
    const ValueTypeT w = _matrix[0][3] * pntIn[0] + _matrix[1][3] * pntIn[1] + _matrix[2][3] * pntIn[2] + _matrix[3][3];
    mult(pntIn, pntOut);
    if (w != ValueTypeT(0))
        pntOut /= w;
}

template <class ValueTypeT>
inline void TransformationMatrix<ValueTypeT>::mult3x3(const PointType3f& pntIn, PointType3f& pntOut) const {
    PointType3f result;
    for (UInt32 row = 0; row < 3; ++row)
        result[row] = _matrix[0][row] * pntIn[0] + _matrix[1][row] * pntIn[1] + _matrix[2][row] * pntIn[2];
    pntOut = result;
}

template <class ValueTypeT>
inline void TransformationMatrix<ValueTypeT>::mult3x3(const VectorType3f& vecIn, VectorType3f& vecOut) const {
    mult3x3(static_cast<const PointType3f&>(vecIn), static_cast<PointType3f&>(vecOut));
}

template <class ValueTypeT>
inline typename TransformationMatrix<ValueTypeT>::PointType3f
TransformationMatrix<ValueTypeT>::operator*(const PointType3f& pnt) const {
    PointType3f result;
    mult(pnt, result);
    return result;
}

template <class ValueTypeT>
inline typename TransformationMatrix<ValueTypeT>::VectorType3f
TransformationMatrix<ValueTypeT>::operator*(const VectorType3f& vec) const {
    VectorType3f result;
    mult3x3(vec, result);
    return result;
}

template <class ValueTypeT>
inline typename TransformationMatrix<ValueTypeT>::PointType
TransformationMatrix<ValueTypeT>::operator*(const PointType& pnt) const {
    PointType result;
    mult(pnt, result);
    return result;
}

template <class ValueTypeT>
inline void TransformationMatrix<ValueTypeT>::multLeft(const PointType3f& pntIn, PointType3f& pntOut) const {
    PointType3f result;
    for (UInt32 i = 0; i < 3; ++i)
        result[i] = pntIn[0] * _matrix[i][0] + pntIn[1] * _matrix[i][1] + pntIn[2] * _matrix[i][2] + _matrix[i][3];
    pntOut = result;
}

template <class ValueTypeT>
inline void TransformationMatrix<ValueTypeT>::multLeft(const VectorType3f& vecIn, VectorType3f& vecOut) const {
    VectorType3f result;
    for (UInt32 i = 0; i < 3; ++i)
        result[i] = vecIn[0] * _matrix[i][0] + vecIn[1] * _matrix[i][1] + vecIn[2] * _matrix[i][2];
    vecOut = result;
}

template <class ValueTypeT>
inline bool TransformationMatrix<ValueTypeT>::equals(const TransformationMatrix& matrix,
                                                     const ValueTypeT tolerance) const {
    for (UInt32 i = 0; i < 4; ++i)
        if (!_matrix[i].equals(matrix._matrix[i], tolerance))
            return false;
    return true;
}

template <class ValueTypeT>
inline ValueTypeT TransformationMatrix<ValueTypeT>::det3() const {
    const VectorType3f a(_matrix[0]), b(_matrix[1]), c(_matrix[2]);
    return a.dot(b.cross(c));
}

namespace detail {

/// The twelve 2x2 minors of the column pairs (0, 1) and (2, 3), for determinant and inverse (Laplace expansion). In
/// double precision, because CAD scenes mix scales.
template <class ValueTypeT>
struct MatrixMinors {
    Real64 s[6];
    Real64 c[6];

    explicit MatrixMinors(const TransformationMatrix<ValueTypeT>& m) {
        static const UInt32 rows[6][2] = {{0, 1}, {0, 2}, {0, 3}, {1, 2}, {1, 3}, {2, 3}};
        for (UInt32 i = 0; i < 6; ++i) {
            const UInt32 p = rows[i][0], q = rows[i][1];
            s[i] = Real64(m[0][p]) * m[1][q] - Real64(m[1][p]) * m[0][q];
            c[i] = Real64(m[2][p]) * m[3][q] - Real64(m[3][p]) * m[2][q];
        }
    }
    Real64 det() const { return s[0] * c[5] - s[1] * c[4] + s[2] * c[3] + s[3] * c[2] - s[4] * c[1] + s[5] * c[0]; }
};

} // namespace detail

template <class ValueTypeT>
inline ValueTypeT TransformationMatrix<ValueTypeT>::det() const {
    return ValueTypeT(detail::MatrixMinors<ValueTypeT>(*this).det());
}

template <class ValueTypeT>
inline bool TransformationMatrix<ValueTypeT>::inverse(TransformationMatrix& result) const {
    const detail::MatrixMinors<ValueTypeT> minors(*this);
    const Real64 determinant = minors.det();
    if (!(osgabs(determinant) >= 1E-30)) {
        result.setIdentity();
        return false;
    }
    const Real64 f = 1.0 / determinant;
    const Real64* s = minors.s;
    const Real64* c = minors.c;
    const TransformationMatrix m(*this);
    const auto a = [&m](const UInt32 column, const UInt32 row) { return Real64(m[column][row]); };

    result[0][0] = ValueTypeT((a(1, 1) * c[5] - a(1, 2) * c[4] + a(1, 3) * c[3]) * f);
    result[0][1] = ValueTypeT((-a(0, 1) * c[5] + a(0, 2) * c[4] - a(0, 3) * c[3]) * f);
    result[0][2] = ValueTypeT((a(3, 1) * s[5] - a(3, 2) * s[4] + a(3, 3) * s[3]) * f);
    result[0][3] = ValueTypeT((-a(2, 1) * s[5] + a(2, 2) * s[4] - a(2, 3) * s[3]) * f);
    result[1][0] = ValueTypeT((-a(1, 0) * c[5] + a(1, 2) * c[2] - a(1, 3) * c[1]) * f);
    result[1][1] = ValueTypeT((a(0, 0) * c[5] - a(0, 2) * c[2] + a(0, 3) * c[1]) * f);
    result[1][2] = ValueTypeT((-a(3, 0) * s[5] + a(3, 2) * s[2] - a(3, 3) * s[1]) * f);
    result[1][3] = ValueTypeT((a(2, 0) * s[5] - a(2, 2) * s[2] + a(2, 3) * s[1]) * f);
    result[2][0] = ValueTypeT((a(1, 0) * c[4] - a(1, 1) * c[2] + a(1, 3) * c[0]) * f);
    result[2][1] = ValueTypeT((-a(0, 0) * c[4] + a(0, 1) * c[2] - a(0, 3) * c[0]) * f);
    result[2][2] = ValueTypeT((a(3, 0) * s[4] - a(3, 1) * s[2] + a(3, 3) * s[0]) * f);
    result[2][3] = ValueTypeT((-a(2, 0) * s[4] + a(2, 1) * s[2] - a(2, 3) * s[0]) * f);
    result[3][0] = ValueTypeT((-a(1, 0) * c[3] + a(1, 1) * c[1] - a(1, 2) * c[0]) * f);
    result[3][1] = ValueTypeT((a(0, 0) * c[3] - a(0, 1) * c[1] + a(0, 2) * c[0]) * f);
    result[3][2] = ValueTypeT((-a(3, 0) * s[3] + a(3, 1) * s[1] - a(3, 2) * s[0]) * f);
    result[3][3] = ValueTypeT((a(2, 0) * s[3] - a(2, 1) * s[1] + a(2, 2) * s[0]) * f);
    return true;
}

template <class ValueTypeT>
inline bool TransformationMatrix<ValueTypeT>::inverse3(TransformationMatrix& result) const {
    const TransformationMatrix upper{VectorType3f(_matrix[0]), VectorType3f(_matrix[1]), VectorType3f(_matrix[2])};
    return upper.inverse(result);
}

template <class ValueTypeT>
inline bool TransformationMatrix<ValueTypeT>::transposed(TransformationMatrix& result) const {
    const TransformationMatrix source(*this);
    for (UInt32 column = 0; column < 4; ++column)
        for (UInt32 row = 0; row < 4; ++row)
            result[column][row] = source[row][column];
    return true;
}

template <class ValueTypeT>
inline void TransformationMatrix<ValueTypeT>::mult(const TransformationMatrix& matrix) {
    TransformationMatrix result;
    for (UInt32 column = 0; column < 4; ++column)
        for (UInt32 row = 0; row < 4; ++row)
            result[column][row] = _matrix[0][row] * matrix[column][0] + _matrix[1][row] * matrix[column][1] +
                                  _matrix[2][row] * matrix[column][2] + _matrix[3][row] * matrix[column][3];
    *this = result;
}

template <class ValueTypeT>
inline void TransformationMatrix<ValueTypeT>::multLeft(const TransformationMatrix& matrix) {
    TransformationMatrix result(matrix);
    result.mult(*this);
    *this = result;
}

template <class ValueTypeT>
inline void TransformationMatrix<ValueTypeT>::addScaled(const TransformationMatrix& matrix, const ValueTypeT s) {
    for (UInt32 i = 0; i < 4; ++i)
        _matrix[i] += matrix._matrix[i] * s;
}

template <class ValueTypeT>
inline void TransformationMatrix<ValueTypeT>::scale(const ValueTypeT s) {
    for (VectorType& column : _matrix)
        column *= s;
}

OSG_END_NAMESPACE
