// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGltfJson.h"

#include <array>
#include <OpenSG/OSGMatrix.h>

/// A 4 by 4 matrix as glTF stores it: column by column, the translation last.
using ktMatrix = std::array<double, 16>;

const ktMatrix ktIdentity = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

/// The transform of a node, given as matrix or as translation, rotation and scale. If a value is not finite or the
/// rotation has zero length, `valid` becomes false and the result is the identity.
ktMatrix ktReadNodeMatrix(const ktJson& node, bool& valid);
/// The product a * b: applies b first, then a.
ktMatrix ktMultiply(const ktMatrix& a, const ktMatrix& b);
/// Inverts a matrix whose last row is 0, 0, 0, 1. If it has no inverse, returns false and does not write.
bool ktInvert(const ktMatrix& matrix, ktMatrix& inverse);
osg::Matrix ktToOSG(const ktMatrix& matrix);
