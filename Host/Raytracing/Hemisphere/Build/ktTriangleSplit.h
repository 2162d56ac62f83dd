// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

struct ktBvhBox;

/// Splits the part of a triangle inside `box` by the plane at `position` on `axis`.
/// @param corner     three corners: x, y, z each
/// @param left,right receive the boxes of the parts below and above the plane, each inside `box`
void ktSplitTriangle(const float* const corner[3], int axis, float position, const ktBvhBox& box, ktBvhBox& left,
                     ktBvhBox& right);
