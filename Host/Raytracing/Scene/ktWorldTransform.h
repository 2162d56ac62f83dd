// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <OpenSG/OSGMatrix.h>

/// Object space to world space, for positions and normals. Calculates in double precision, so that equal input gives
/// equal bits wherever it is transformed.
class ktWorldTransform {
public:
    /// The identity.
    ktWorldTransform();
    /// Takes the affine part of the matrix; its last row is ignored.
    explicit ktWorldTransform(const osg::Matrix& matrix);

    /// Whether the matrix turns left hands into right ones: triangles change their winding.
    bool isMirrored() const { return mirrored; }

    /// World position, three floats; not finite when the input or the matrix is not.
    void position(const float* object, float* world) const;
    /// World direction, three floats of any length; not finite when the input or the matrix is not.
    void direction(const float* object, float* world) const;
    /// Unit world normal by the inverse transpose; for a flattened space, that of the plane it is flattened to.
    /// @return false when there is none: the normal is zero, not finite, or the space has less than two dimensions
    bool normal(const float* object, float* world) const;
    /// Size of the numbers that made up a world position, in world units: what its rounding error is measured by.
    float magnitude(const float* object) const;

private:
    void makeNormalMatrix();

    double matrix[3][4];       // row by row
    double normalMatrix[3][3]; // the inverse transpose times a positive number
    bool mirrored = false;
};
