// SPDX-License-Identifier: LGPL-2.1-or-later
// Reads a glTF node's transform (matrix, or translation, rotation, scale), and multiplies and inverts matrices.
#include "ktNodeTransform.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

bool isUsable(const double* numbers, std::size_t count) {
    return std::all_of(numbers, numbers + count, [](double number) {
        return std::isfinite(number) && std::fabs(number) <= std::numeric_limits<float>::max();
    });
}

// Reads an optional array of numbers; false if it is present but invalid.
bool readNumbers(const ktJson& node, const char* key, std::size_t count, double* numbers) {
    if (!ktJsonMember(node, key))
        return true;
    return ktJsonNumbers(node, key, count, numbers) && isUsable(numbers, count);
}

} // namespace

ktMatrix ktReadNodeMatrix(const ktJson& node, bool& valid) {
    ktMatrix matrix = ktIdentity;
    valid = readNumbers(node, "matrix", 16, matrix.data());
    if (ktJsonMember(node, "matrix"))
        return valid ? matrix : ktIdentity;
    double t[3] = {0, 0, 0}, q[4] = {0, 0, 0, 1}, s[3] = {1, 1, 1};
    valid = readNumbers(node, "translation", 3, t) && readNumbers(node, "rotation", 4, q) &&
            readNumbers(node, "scale", 3, s);
    const double length = std::sqrt(q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3]);
    valid = valid && length > 1e-12;
    if (!valid)
        return ktIdentity;
    const double x = q[0] / length, y = q[1] / length, z = q[2] / length, w = q[3] / length;
    return {s[0] * (1 - 2 * (y * y + z * z)),
            s[0] * 2 * (x * y + w * z),
            s[0] * 2 * (x * z - w * y),
            0,
            s[1] * 2 * (x * y - w * z),
            s[1] * (1 - 2 * (x * x + z * z)),
            s[1] * 2 * (y * z + w * x),
            0,
            s[2] * 2 * (x * z + w * y),
            s[2] * 2 * (y * z - w * x),
            s[2] * (1 - 2 * (x * x + y * y)),
            0,
            t[0],
            t[1],
            t[2],
            1};
}

ktMatrix ktMultiply(const ktMatrix& a, const ktMatrix& b) {
    ktMatrix out;
    for (std::size_t column = 0; column < 4; ++column)
        for (std::size_t row = 0; row < 4; ++row) {
            double sum = 0.0;
            for (std::size_t k = 0; k < 4; ++k)
                sum += a[4 * k + row] * b[4 * column + k];
            out[4 * column + row] = sum;
        }
    return out;
}

bool ktInvert(const ktMatrix& m, ktMatrix& inverse) {
    // The rows of the inverse's 3 by 3 part are cross products of the columns.
    const auto cofactor = [&](std::size_t a, std::size_t b, std::size_t row) {
        const std::size_t i = (row + 1) % 3, j = (row + 2) % 3;
        return m[4 * a + i] * m[4 * b + j] - m[4 * a + j] * m[4 * b + i];
    };
    double determinant = 0.0;
    for (std::size_t row = 0; row < 3; ++row)
        determinant += m[row] * cofactor(1, 2, row);
    if (!(std::fabs(determinant) > 0.0) || !std::isfinite(1.0 / determinant))
        return false;
    ktMatrix out = ktIdentity;
    for (std::size_t column = 0; column < 3; ++column) {
        out[4 * column] = cofactor(1, 2, column) / determinant;
        out[4 * column + 1] = cofactor(2, 0, column) / determinant;
        out[4 * column + 2] = cofactor(0, 1, column) / determinant;
    }
    for (std::size_t row = 0; row < 3; ++row)
        out[12 + row] = -(out[row] * m[12] + out[4 + row] * m[13] + out[8 + row] * m[14]);
    inverse = out;
    return true;
}

osg::Matrix ktToOSG(const ktMatrix& matrix) {
    osg::Matrix out;
    for (osg::UInt32 column = 0; column < 4; ++column)
        for (osg::UInt32 row = 0; row < 4; ++row)
            out[column][row] = static_cast<float>(matrix[4 * column + row]);
    return out;
}
