// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

struct ktBvhBox;

/// Cuts the part of a triangle inside `box` by the plane at `position` on `axis`.
/// @param corner    three corners, x, y, z each
/// @param box       box of the part to cut
/// @param left,right receive boxes that hold the part below and above the plane; never larger than `box`
void ktSplitTriangle(const float* const corner[3], int axis, float position, const ktBvhBox& box, ktBvhBox& left,
                     ktBvhBox& right);
