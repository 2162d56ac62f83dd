// SPDX-License-Identifier: LGPL-2.1-or-later
#ifndef OSGMATRIX_H
#define OSGMATRIX_H

#include "OSGVector.h"

OSG_BEGIN_NAMESPACE

template <class ValueTypeT>
class QuaternionBase;

/// A 4x4 matrix that acts on column vectors: p' = M p.
///
/// Storage is by columns: matrix[i] is column i, and matrix[i][j] is the element in column i and row j. So getValues()
/// has OpenGL's order, and matrix[3] is the translation. Constructors and setValue() with sixteen numbers take them row
/// by row, as a matrix is written on paper.
template <class ValueTypeT>
class TransformationMatrix {
public:
    using ValueType = ValueTypeT;
    using VectorType = Vector<ValueTypeT, 4>;
    using VectorType3f = Vector<ValueTypeT, 3>;
    using PointType = Point<ValueTypeT, 4>;
    using PointType3f = Point<ValueTypeT, 3>;
    using QuaternionType = QuaternionBase<ValueTypeT>;

    static const TransformationMatrix& identity();

    /// The identity.
    TransformationMatrix() { setIdentity(); }
    /// The first three rows of columns 0 to 2, and of 3 if given. All other elements are as in the identity.
    TransformationMatrix(const VectorType3f& column0, const VectorType3f& column1, const VectorType3f& column2) {
        setIdentity();
        setValue(column0, column1, column2);
    }
    TransformationMatrix(const VectorType3f& column0, const VectorType3f& column1, const VectorType3f& column2,
                         const VectorType3f& column3) {
        setIdentity();
        setValue(column0, column1, column2, column3);
    }
    /// Row by row: rValCR is the element in column C and row R.
    TransformationMatrix(ValueTypeT rVal00, ValueTypeT rVal10, ValueTypeT rVal20, ValueTypeT rVal30, ValueTypeT rVal01,
                         ValueTypeT rVal11, ValueTypeT rVal21, ValueTypeT rVal31, ValueTypeT rVal02, ValueTypeT rVal12,
                         ValueTypeT rVal22, ValueTypeT rVal32, ValueTypeT rVal03, ValueTypeT rVal13, ValueTypeT rVal23,
                         ValueTypeT rVal33) {
        setValue(rVal00, rVal10, rVal20, rVal30, rVal01, rVal11, rVal21, rVal31, rVal02, rVal12, rVal22, rVal32, rVal03,
                 rVal13, rVal23, rVal33);
    }

    void setIdentity();
    void setValue(const TransformationMatrix& matrix) { *this = matrix; }
    /// The first three rows of the given columns. All other elements stay unchanged.
    void setValue(const VectorType3f& column0, const VectorType3f& column1, const VectorType3f& column2);
    void setValue(const VectorType3f& column0, const VectorType3f& column1, const VectorType3f& column2,
                  const VectorType3f& column3);
    /// Row by row, like the constructor.
    void setValue(ValueTypeT rVal00, ValueTypeT rVal10, ValueTypeT rVal20, ValueTypeT rVal30, ValueTypeT rVal01,
                  ValueTypeT rVal11, ValueTypeT rVal21, ValueTypeT rVal31, ValueTypeT rVal02, ValueTypeT rVal12,
                  ValueTypeT rVal22, ValueTypeT rVal32, ValueTypeT rVal03, ValueTypeT rVal13, ValueTypeT rVal23,
                  ValueTypeT rVal33);
    /// Column by column.
    void setValueTransposed(ValueTypeT rVal00, ValueTypeT rVal01, ValueTypeT rVal02, ValueTypeT rVal03,
                            ValueTypeT rVal10, ValueTypeT rVal11, ValueTypeT rVal12, ValueTypeT rVal13,
                            ValueTypeT rVal20, ValueTypeT rVal21, ValueTypeT rVal22, ValueTypeT rVal23,
                            ValueTypeT rVal30, ValueTypeT rVal31, ValueTypeT rVal32, ValueTypeT rVal33);
    /// Sixteen values, column by column (the order of getValues()), or row by row if transposed is false.
    void setValue(const ValueTypeT* values, bool transposed = true);
    /// Four columns.
    void setValue(const VectorType* columns);

    /// Sixteen values, column by column.
    ValueTypeT* getValues() { return _matrix[0].getValues(); }
    const ValueTypeT* getValues() const { return _matrix[0].getValues(); }

    // These write their part and leave all other elements unchanged.
    void setScale(ValueTypeT s) { setScale(s, s, s); }
    void setScale(ValueTypeT sx, ValueTypeT sy, ValueTypeT sz);
    void setScale(const VectorType3f& s) { setScale(s[0], s[1], s[2]); }
    void setTranslate(ValueTypeT tx, ValueTypeT ty, ValueTypeT tz);
    void setTranslate(const PointType3f& t) { setTranslate(t[0], t[1], t[2]); }
    void setRotate(const QuaternionType& q);

    // These set the whole matrix to translation * rotation * scale orientation * scale * inverse scale orientation.
    // Rotation and scale are around center.
    void setTransform(const VectorType3f& translation);
    void setTransform(const QuaternionType& rotation);
    void setTransform(const VectorType3f& translation, const QuaternionType& rotation);
    void setTransform(const VectorType3f& translation, const QuaternionType& rotation, const VectorType3f& scaleFactor);
    void setTransform(const VectorType3f& translation, const QuaternionType& rotation, const VectorType3f& scaleFactor,
                      const QuaternionType& scaleOrientation);
    void setTransform(const VectorType3f& translation, const QuaternionType& rotation, const VectorType3f& scaleFactor,
                      const QuaternionType& scaleOrientation, const VectorType3f& center);
    /// Decomposes an affine matrix into the arguments of setTransform(). A mirroring matrix has negative scale factors,
    /// a singular one has a zero scale factor. Algorithm: polar decomposition, then the eigenvectors of the stretch
    /// (Shoemake and Duff, Matrix Animation and Polar Decomposition, 1992).
    void getTransform(VectorType3f& translation, QuaternionType& rotation, VectorType3f& scaleFactor,
                      QuaternionType& scaleOrientation) const;
    void getTransform(VectorType3f& translation, QuaternionType& rotation, VectorType3f& scaleFactor,
                      QuaternionType& scaleOrientation, const VectorType3f& center) const;

    // The translation applies to points, not to vectors. "Full" divides by the resulting w if it is not zero; the
    // others ignore the last row. Source and destination may be the same object.
    void mult(const PointType3f& pntIn, PointType3f& pntOut) const;
    void mult(const VectorType3f& vecIn, VectorType3f& vecOut) const { mult3x3(vecIn, vecOut); }
    void mult(const PointType& pntIn, PointType& pntOut) const;
    void mult(PointType3f& pnt) const { mult(pnt, pnt); }
    void mult(VectorType3f& vec) const { mult3x3(vec, vec); }
    void multFull(const PointType3f& pntIn, PointType3f& pntOut) const;
    void mult3x3(const PointType3f& pntIn, PointType3f& pntOut) const;
    void mult3x3(const VectorType3f& vecIn, VectorType3f& vecOut) const;
    PointType3f operator*(const PointType3f& pnt) const;
    VectorType3f operator*(const VectorType3f& vec) const;
    PointType operator*(const PointType& pnt) const;

    // Older names of the same operations.
    void multMatrixPnt(const PointType3f& src, PointType3f& dst) const { mult(src, dst); }
    void multMatrixPnt(PointType3f& pnt) const { mult(pnt, pnt); }
    void multFullMatrixPnt(const PointType3f& src, PointType3f& dst) const { multFull(src, dst); }
    void multFullMatrixPnt(PointType3f& pnt) const { multFull(pnt, pnt); }
    void multMatrixVec(const VectorType3f& src, VectorType3f& dst) const { mult3x3(src, dst); }
    void multMatrixVec(VectorType3f& vec) const { mult3x3(vec, vec); }

    // Row vector times matrix: p' = p M.
    void multLeft(const PointType3f& pntIn, PointType3f& pntOut) const;
    void multLeft(const VectorType3f& vecIn, VectorType3f& vecOut) const;

    bool equals(const TransformationMatrix& matrix, ValueTypeT tolerance) const;

    /// Determinant of the upper left 3x3 part.
    ValueTypeT det3() const;
    ValueTypeT det() const;

    // Inverses. If the determinant is below 1e-30 the matrix counts as singular: the result is the identity and the
    // functions return false. "From" inverts the argument into this matrix. "3" inverts the upper left 3x3 part; the
    // rest of the result is as in the identity.
    bool inverse(TransformationMatrix& result) const;
    bool invert() { return inverse(*this); }
    bool invertFrom(const TransformationMatrix& matrix) { return matrix.inverse(*this); }
    bool inverse3(TransformationMatrix& result) const;
    bool invert3() { return inverse3(*this); }
    bool invertFrom3(const TransformationMatrix& matrix) { return matrix.inverse3(*this); }

    // Transposes. They always return true.
    bool transposed(TransformationMatrix& result) const;
    bool transpose() { return transposed(*this); }
    bool transposeFrom(const TransformationMatrix& matrix) { return matrix.transposed(*this); }

    /// this = this * matrix: matrix is applied first.
    void mult(const TransformationMatrix& matrix);
    /// this = matrix * this: matrix is applied last.
    void multLeft(const TransformationMatrix& matrix);
    void add(const TransformationMatrix& matrix) { addScaled(matrix, ValueTypeT(1)); }
    void addScaled(const TransformationMatrix& matrix, ValueTypeT s);
    /// Multiplies all sixteen elements by s.
    void scale(ValueTypeT s);
    void negate() { scale(ValueTypeT(-1)); }

    /// Column index, 0 to 3.
    VectorType& operator[](UInt32 index) { return _matrix[index]; }
    const VectorType& operator[](UInt32 index) const { return _matrix[index]; }

    /// Compares with the tolerance Eps per element.
    bool operator==(const TransformationMatrix& other) const { return equals(other, ValueTypeT(Eps)); }
    bool operator!=(const TransformationMatrix& other) const { return !(*this == other); }

private:
    VectorType _matrix[4];
};

using Matrix = TransformationMatrix<Real32>;
using Matrix4f = TransformationMatrix<Real32>;
using Matrix4d = TransformationMatrix<Real64>;

/// Four lines, one per row.
template <class ValueTypeT>
std::ostream& operator<<(std::ostream& os, const TransformationMatrix<ValueTypeT>& matrix) {
    for (UInt32 row = 0; row < 4; ++row)
        os << matrix[0][row] << ' ' << matrix[1][row] << ' ' << matrix[2][row] << ' ' << matrix[3][row] << '\n';
    return os;
}

OSG_END_NAMESPACE

#include "OSGMatrix.inl"

// Included here because it needs matrices, and the code below needs quaternions.
#include "OSGQuaternion.h"

#include "OSGMatrixTransform.inl"

#endif
