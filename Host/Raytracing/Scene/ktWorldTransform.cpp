// SPDX-License-Identifier: LGPL-2.1-or-later
// Transforms positions and normals to world space in double precision, with bits that never vary.
#include "ktWorldTransform.h"

#include <algorithm>
#include <cmath>

ktWorldTransform::ktWorldTransform() : ktWorldTransform(osg::Matrix()) {}

ktWorldTransform::ktWorldTransform(const osg::Matrix& source) {
    for (int row = 0; row < 3; ++row)
        for (int column = 0; column < 4; ++column)
            matrix[row][column] = source[static_cast<osg::UInt32>(column)][static_cast<osg::UInt32>(row)];
    makeNormalMatrix();
}

// The cofactors are the inverse transpose times the determinant. They exist even if the inverse does not.
void ktWorldTransform::makeNormalMatrix() {
    for (int row = 0; row < 3; ++row) {
        for (int column = 0; column < 3; ++column) {
            const int r1 = (row + 1) % 3, r2 = (row + 2) % 3, c1 = (column + 1) % 3, c2 = (column + 2) % 3;
            normalMatrix[row][column] = matrix[r1][c1] * matrix[r2][c2] - matrix[r1][c2] * matrix[r2][c1];
        }
    }
    const double determinant =
        matrix[0][0] * normalMatrix[0][0] + matrix[0][1] * normalMatrix[0][1] + matrix[0][2] * normalMatrix[0][2];
    mirrored = determinant < 0.0;
    if (mirrored)
        for (auto& row : normalMatrix)
            for (double& value : row)
                value = -value;
}

void ktWorldTransform::position(const float* object, float* world) const {
    for (int row = 0; row < 3; ++row)
        world[row] = static_cast<float>(matrix[row][0] * object[0] + matrix[row][1] * object[1] +
                                        matrix[row][2] * object[2] + matrix[row][3]);
}

void ktWorldTransform::direction(const float* object, float* world) const {
    for (int row = 0; row < 3; ++row)
        world[row] =
            static_cast<float>(matrix[row][0] * object[0] + matrix[row][1] * object[1] + matrix[row][2] * object[2]);
}

bool ktWorldTransform::normal(const float* object, float* world) const {
    double turned[3];
    for (int row = 0; row < 3; ++row)
        turned[row] =
            normalMatrix[row][0] * object[0] + normalMatrix[row][1] * object[1] + normalMatrix[row][2] * object[2];
    // First divides by the largest component: squares of very large or small numbers would overflow or underflow.
    const double largest = std::max({std::fabs(turned[0]), std::fabs(turned[1]), std::fabs(turned[2])});
    if (!(largest > 0.0) || !std::isfinite(turned[0] + turned[1] + turned[2]))
        return false;
    for (double& value : turned)
        value /= largest;
    const double length = std::sqrt(turned[0] * turned[0] + turned[1] * turned[1] + turned[2] * turned[2]);
    for (int row = 0; row < 3; ++row)
        world[row] = static_cast<float>(turned[row] / length);
    return true;
}

float ktWorldTransform::magnitude(const float* object) const {
    double largest = 0.0;
    for (const auto& row : matrix)
        largest = std::max(largest, std::fabs(row[0] * object[0]) + std::fabs(row[1] * object[1]) +
                                        std::fabs(row[2] * object[2]) + std::fabs(row[3]));
    return static_cast<float>(largest);
}
