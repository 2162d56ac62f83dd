// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktContactLines.h"

#include <vector>

/// How to cut a triangle along a straight line: one cut from a corner to the edge across, or two edges.
struct ktContactCut {
    /// A point of an edge.
    struct Place {
        int corner; ///< where the edge begins; it ends at the next corner
        double at;  ///< 0 at the begin, 1 at the end
    };
    int count = 0; ///< 0: no cut
    Place places[2] = {};
    double sides[3] = {}; ///< distances of the corners to the line; their sign tells the side
};

/// Chooses the line that most of the segments lie on, within a hundredth of the triangle's longest edge.
/// A triangle is not cut if the segments cover less than 0.6 of the cut, or less than 0.2 of the longest edge, or if
/// the line passes so near to a corner that a part would be a sliver. So a curve is cut where triangles are small
/// enough to see it as straight, and lines are hardly longer than the contact.
/// @param corners  three, world space
/// @param segments of the triangle (ktContactLines::find()), longest first
ktContactCut ktChooseContactCut(const ktContactLines::Point* corners, const std::vector<ktContactSegment>& segments);
