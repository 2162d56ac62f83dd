// SPDX-License-Identifier: LGPL-2.1-or-later
// Composes and decomposes transformations. Included by OSGMatrix.h.

OSG_BEGIN_NAMESPACE

template <class ValueTypeT>
inline void TransformationMatrix<ValueTypeT>::setRotate(const QuaternionType& q) {
    q.getValuesOnly(*this);
}

template <class ValueTypeT>
inline void TransformationMatrix<ValueTypeT>::setTransform(const VectorType3f& translation) {
    setIdentity();
    setTranslate(translation);
}

template <class ValueTypeT>
inline void TransformationMatrix<ValueTypeT>::setTransform(const QuaternionType& rotation) {
    setIdentity();
    setRotate(rotation);
}

template <class ValueTypeT>
inline void TransformationMatrix<ValueTypeT>::setTransform(const VectorType3f& translation,
                                                           const QuaternionType& rotation) {
    setTransform(rotation);
    setTranslate(translation);
}

template <class ValueTypeT>
inline void TransformationMatrix<ValueTypeT>::setTransform(const VectorType3f& translation,
                                                           const QuaternionType& rotation,
                                                           const VectorType3f& scaleFactor) {
    setTransform(translation, rotation);
    for (UInt32 i = 0; i < 3; ++i)
        _matrix[i] *= scaleFactor[i];
}

template <class ValueTypeT>
inline void TransformationMatrix<ValueTypeT>::setTransform(const VectorType3f& translation,
                                                           const QuaternionType& rotation,
                                                           const VectorType3f& scaleFactor,
                                                           const QuaternionType& scaleOrientation) {
    TransformationMatrix orientation, scaling, orientationBack;
    orientation.setTransform(scaleOrientation);
    scaling.setScale(scaleFactor);
    orientationBack.setTransform(scaleOrientation.inverse());

    setTransform(translation, rotation);
    mult(orientation);
    mult(scaling);
    mult(orientationBack);
}

template <class ValueTypeT>
inline void
TransformationMatrix<ValueTypeT>::setTransform(const VectorType3f& translation, const QuaternionType& rotation,
                                               const VectorType3f& scaleFactor, const QuaternionType& scaleOrientation,
                                               const VectorType3f& center) {
    TransformationMatrix fromCenter;
    fromCenter.setTranslate(-center);
    setTransform(translation + center, rotation, scaleFactor, scaleOrientation);
    mult(fromCenter);
}

namespace detail {

/// A 3x3 double-precision matrix for decompositions. Element [row][column].
struct Matrix3x3 {
    Real64 m[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};

    Matrix3x3 times(const Matrix3x3& b) const {
        Matrix3x3 r;
        for (UInt32 i = 0; i < 3; ++i)
            for (UInt32 j = 0; j < 3; ++j)
                r.m[i][j] = m[i][0] * b.m[0][j] + m[i][1] * b.m[1][j] + m[i][2] * b.m[2][j];
        return r;
    }
    Matrix3x3 transposed() const {
        Matrix3x3 r;
        for (UInt32 i = 0; i < 3; ++i)
            for (UInt32 j = 0; j < 3; ++j)
                r.m[i][j] = m[j][i];
        return r;
    }
    /// Rows of the result are cross products of this matrix's rows: det * inverse transposed.
    Matrix3x3 cofactors() const {
        Matrix3x3 r;
        for (UInt32 i = 0; i < 3; ++i) {
            const Real64* a = m[(i + 1) % 3];
            const Real64* b = m[(i + 2) % 3];
            for (UInt32 j = 0; j < 3; ++j)
                r.m[i][j] = a[(j + 1) % 3] * b[(j + 2) % 3] - a[(j + 2) % 3] * b[(j + 1) % 3];
        }
        return r;
    }
    Real64 det() const {
        const Matrix3x3 c = cofactors();
        return m[0][0] * c.m[0][0] + m[0][1] * c.m[0][1] + m[0][2] * c.m[0][2];
    }
};

/// Eigenvalues of the symmetric matrix s and its eigenvectors as columns of the rotation v: cyclic Jacobi
/// (Golub and Van Loan, Matrix Computations, 1983).
inline void symmetricEigen(Matrix3x3 s, Real64 (&values)[3], Matrix3x3& v) {
    v = Matrix3x3();
    const Real64 size = osgabs(s.m[0][0]) + osgabs(s.m[1][1]) + osgabs(s.m[2][2]);
    for (UInt32 sweep = 0; sweep < 30; ++sweep) {
        if (osgabs(s.m[0][1]) + osgabs(s.m[0][2]) + osgabs(s.m[1][2]) <= 1e-15 * size)
            break;
        for (UInt32 p = 0; p < 2; ++p) {
            for (UInt32 q = p + 1; q < 3; ++q) {
                if (s.m[p][q] == 0.0)
                    continue;
                const Real64 theta = (s.m[q][q] - s.m[p][p]) / (2.0 * s.m[p][q]);
                const Real64 t = (theta < 0.0 ? -1.0 : 1.0) / (osgabs(theta) + std::sqrt(theta * theta + 1.0));
                const Real64 cosine = 1.0 / std::sqrt(t * t + 1.0);
                Matrix3x3 turn;
                turn.m[p][p] = turn.m[q][q] = cosine;
                turn.m[p][q] = t * cosine;
                turn.m[q][p] = -t * cosine;
                s = turn.transposed().times(s).times(turn);
                v = v.times(turn);
            }
        }
    }
    for (UInt32 i = 0; i < 3; ++i)
        values[i] = s.m[i][i];
}

/// Finds the orthogonal matrix nearest to a by Newton's iteration q = (q + q^-T) / 2. Returns false if a is singular.
inline bool nearestOrthogonal(const Matrix3x3& a, Matrix3x3& q) {
    q = a;
    for (UInt32 step = 0; step < 100; ++step) {
        const Real64 det = q.det();
        if (!(osgabs(det) > 1e-200))
            return false;
        const Matrix3x3 c = q.cofactors();
        // The factor first brings q near unit determinant. This saves most of the steps for scaled matrices.
        const Real64 gamma = std::cbrt(1.0 / osgabs(det));
        Real64 change = 0.0;
        for (UInt32 i = 0; i < 3; ++i) {
            for (UInt32 j = 0; j < 3; ++j) {
                const Real64 next = (gamma * q.m[i][j] + c.m[i][j] / (det * gamma)) / 2.0;
                change += osgabs(next - q.m[i][j]);
                q.m[i][j] = next;
            }
        }
        if (change < 1e-14)
            break;
    }
    return true;
}

} // namespace detail

template <class ValueTypeT>
inline void TransformationMatrix<ValueTypeT>::getTransform(VectorType3f& translation, QuaternionType& rotation,
                                                           VectorType3f& scaleFactor,
                                                           QuaternionType& scaleOrientation) const {
    const auto toQuaternion = [](const detail::Matrix3x3& m) {
        TransformationMatrix matrix;
        for (UInt32 column = 0; column < 3; ++column)
            for (UInt32 row = 0; row < 3; ++row)
                matrix[column][row] = ValueTypeT(m.m[row][column]);
        return QuaternionType(matrix);
    };

    translation = VectorType3f(_matrix[3]);
    rotation.setIdentity();
    scaleOrientation.setIdentity();

    detail::Matrix3x3 a;
    for (UInt32 column = 0; column < 3; ++column)
        for (UInt32 row = 0; row < 3; ++row)
            a.m[row][column] = _matrix[column][row];

    detail::Matrix3x3 q;
    if (!detail::nearestOrthogonal(a, q)) {
        scaleFactor.setNull();
        return;
    }
    const Real64 flip = q.det() < 0.0 ? -1.0 : 1.0;
    for (auto& row : q.m)
        for (Real64& element : row)
            element *= flip;
    rotation = toQuaternion(q);

    // Without its rotation, a is a symmetric stretch (negative if a mirrors).
    detail::Matrix3x3 stretch = q.transposed().times(a);
    for (UInt32 i = 0; i < 3; ++i)
        for (UInt32 j = i + 1; j < 3; ++j)
            stretch.m[i][j] = stretch.m[j][i] = (stretch.m[i][j] + stretch.m[j][i]) / 2.0;

    // For stretches along the axes, the usual case, rounding errors must not produce an orientation.
    const Real64 size = osgabs(stretch.m[0][0]) + osgabs(stretch.m[1][1]) + osgabs(stretch.m[2][2]);
    const Real64 offDiagonal = osgabs(stretch.m[0][1]) + osgabs(stretch.m[0][2]) + osgabs(stretch.m[1][2]);
    if (offDiagonal <= 1e-6 * size) {
        scaleFactor.setValues(ValueTypeT(stretch.m[0][0]), ValueTypeT(stretch.m[1][1]), ValueTypeT(stretch.m[2][2]));
        return;
    }
    Real64 values[3];
    detail::Matrix3x3 axes;
    detail::symmetricEigen(stretch, values, axes);
    scaleFactor.setValues(ValueTypeT(values[0]), ValueTypeT(values[1]), ValueTypeT(values[2]));
    scaleOrientation = toQuaternion(axes);
}

template <class ValueTypeT>
inline void TransformationMatrix<ValueTypeT>::getTransform(VectorType3f& translation, QuaternionType& rotation,
                                                           VectorType3f& scaleFactor, QuaternionType& scaleOrientation,
                                                           const VectorType3f& center) const {
    TransformationMatrix around, toCenter;
    around.setTranslate(-center);
    toCenter.setTranslate(center);
    around.mult(*this);
    around.mult(toCenter);
    around.getTransform(translation, rotation, scaleFactor, scaleOrientation);
}

OSG_END_NAMESPACE
