// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <OpenSG/OSGMatrix.h>

/// Transforms positions and normals from object space to world space. Calculates in double precision, so that equal
/// input always gives equal bits.
class ktWorldTransform {
public:
    /// The identity.
    ktWorldTransform();
    /// Takes the affine part of the matrix; its last row is ignored.
    explicit ktWorldTransform(const osg::Matrix& matrix);

    /// Whether the matrix mirrors: triangles change their winding.
    bool isMirrored() const { return mirrored; }
    /// The three rows of the matrix; position() says how they are used.
    const double (*rows() const)[4] { return matrix; }

    /// World position, three floats: for each row m, m[0] * x + m[1] * y + m[2] * z + m[3], added from left to right,
    /// then rounded. Not finite if the input or the matrix is not.
    void position(const float* object, float* world) const;
    /// World direction, three floats of any length; not finite if the input or the matrix is not.
    void direction(const float* object, float* world) const;
    /// Unit world normal, by the inverse transpose. If the matrix flattens space to a plane, the normal of that plane.
    /// @return false if there is none: the normal is zero or not finite, or the matrix flattens space to a line
    bool normal(const float* object, float* world) const;
    /// Size of the terms that are added up to a world position, in world units. Its rounding error is relative to this.
    float magnitude(const float* object) const;

private:
    void makeNormalMatrix();

    double matrix[3][4];       // row by row
    double normalMatrix[3][3]; // the inverse transpose times a positive number
    bool mirrored = false;
};
