// SPDX-License-Identifier: LGPL-2.1-or-later
// Writes transforms of imported nodes as glTF allows them.
#include "ktAssimpTransform.h"

#include <algorithm>
#include <cmath>
#include <Eigen/Geometry>
#include <Eigen/SVD>

namespace {

using Eigen::Matrix3d;
using Eigen::Quaterniond;
using Eigen::Vector3d;

// Largest error of an entry when a matrix is written as rotation and scale. Validators allow about 1e-4, whatever the
// scale.
constexpr double absoluteSlack = 2e-5;
constexpr double relativeSlack = 2e-6; // of the largest scale: the rounding of a product of several matrices

ktJson columns(const aiMatrix4x4& matrix) {
    ktJson out = ktJson::array();
    for (unsigned column = 0; column < 4; ++column)
        for (unsigned row = 0; row < 4; ++row)
            out.push_back(ktJsonFromFloat(matrix[row][column]));
    return out;
}

ktJson numbers(std::initializer_list<double> values) {
    ktJson out = ktJson::array();
    for (const double value : values)
        out.push_back(ktJsonFromFloat(static_cast<float>(value)));
    return out;
}

void writeRotation(ktJson& node, const Quaterniond& turn) {
    node["rotation"] = numbers({turn.x(), turn.y(), turn.z(), turn.w()});
}

void writeScale(ktJson& node, const Vector3d& scale) {
    node["scale"] = numbers({scale.x(), scale.y(), scale.z()});
}

void writePlace(ktJson& node, const aiMatrix4x4& matrix) {
    node["translation"] = numbers({matrix.a4, matrix.b4, matrix.c4});
}

/// Turns a matrix of three unit columns at right angles into a rotation; the sign goes into one of the factors.
void takeMirror(Matrix3d& axes, int column, double& factor) {
    if (axes.determinant() >= 0.0)
        return;
    axes.col(column) *= -1.0;
    factor *= -1.0;
}

/// The matrix with the last row 0, 0, 0, 1. In that of importers there is rounding, too.
aiMatrix4x4 affine(aiMatrix4x4 matrix) {
    if (matrix.d4 != 0.0f && matrix.d4 != 1.0f)
        std::for_each(&matrix.a1, &matrix.a1 + 12, [divisor = matrix.d4](float& value) { value /= divisor; });
    matrix.d1 = matrix.d2 = matrix.d3 = 0.0f;
    matrix.d4 = 1.0f;
    return matrix;
}

} // namespace

ktJson ktWriteAssimpTransform(ktJson& node, const aiMatrix4x4& given, bool isAnimated) {
    const aiMatrix4x4 matrix = affine(given);
    const bool isFinite = std::all_of(&matrix.a1, &matrix.a1 + 16, [](float value) { return std::isfinite(value); });
    // Exactly: what Assimp itself calls an identity may move a part by a hundredth of a unit.
    if (!isFinite || (matrix == aiMatrix4x4() && !isAnimated))
        return nullptr;
    if (isAnimated) {
        aiVector3D scale, place;
        aiQuaternion turn;
        matrix.Decompose(scale, turn, place);
        turn.Normalize();
        node["translation"] = numbers({place.x, place.y, place.z});
        node["rotation"] = numbers({turn.x, turn.y, turn.z, turn.w});
        node["scale"] = numbers({scale.x, scale.y, scale.z});
        return nullptr;
    }
    Matrix3d linear;
    for (unsigned row = 0; row < 3; ++row)
        for (unsigned column = 0; column < 3; ++column)
            linear(row, column) = static_cast<double>(matrix[row][column]);
    Vector3d scale = linear.colwise().norm();
    if (scale.minCoeff() > 0.0) {
        Matrix3d axes = linear * scale.cwiseInverse().asDiagonal();
        takeMirror(axes, 0, scale.x());
        const Quaterniond turn = Quaterniond(axes).normalized();
        const double error = (turn.toRotationMatrix() * scale.asDiagonal() - linear).cwiseAbs().maxCoeff();
        if (error <= absoluteSlack) {
            node["matrix"] = columns(matrix);
            return nullptr;
        }
        if (error <= relativeSlack * scale.cwiseAbs().maxCoeff()) {
            writePlace(node, matrix);
            writeRotation(node, turn);
            writeScale(node, scale);
            return nullptr;
        }
    }
    const Eigen::JacobiSVD<Matrix3d> factors(linear, Eigen::ComputeFullU | Eigen::ComputeFullV);
    Matrix3d outer = factors.matrixU(), inner = factors.matrixV();
    scale = factors.singularValues();
    takeMirror(outer, 2, scale.z());
    takeMirror(inner, 2, scale.z());
    ktJson above = ktJson::object();
    writePlace(above, matrix);
    writeRotation(above, Quaterniond(outer).normalized());
    writeScale(above, scale);
    writeRotation(node, Quaterniond(Matrix3d(inner.transpose())).normalized());
    return above;
}
