// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGltfJson.h"

#include <array>
#include <OpenSG/OSGMatrix.h>

/// A 4 by 4 matrix as glTF stores it: column by column, the translation last.
using ktMatrix = std::array<double, 16>;

const ktMatrix ktIdentity = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

/// The transform of a node, given as matrix or as translation, rotation and scale. With values that are not finite or a
/// rotation without length, `valid` becomes false and the identity is returned.
ktMatrix ktReadNodeMatrix(const ktJson& node, bool& valid);
/// What does b first and then a.
ktMatrix ktMultiply(const ktMatrix& a, const ktMatrix& b);
/// The inverse of a matrix whose last row is 0, 0, 0, 1; false, and nothing written, when there is none.
bool ktInvert(const ktMatrix& matrix, ktMatrix& inverse);
osg::Matrix ktToOSG(const ktMatrix& matrix);
