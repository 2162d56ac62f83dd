// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktTriangleTree.h"

#include <array>
#include <vector>

/// A straight part of a line on a surface.
struct ktContactSegment {
    std::array<double, 3> from, to; ///< world space
};

/// Lines where other surfaces meet a triangle: they pass through it, or an edge of theirs lies on it. There light
/// changes at once (D. Lischinski, F. Tampieri, D. P. Greenberg, "Discontinuity Meshing for Accurate Radiosity", 1992).
/// Only what rises in front of the triangle counts, and not flatter than about 8 degrees.
/// Immutable; many threads may search at once.
class ktContactLines {
public:
    using Point = ktTriangleTree::Point;

    /// See ktTriangleTree.
    explicit ktContactLines(const ktTracedScene& scene);

    /// Finds the segments of a triangle, clipped to it. Their order does not depend on that of the scene's nodes: the
    /// longest first. Parts of the triangle's own edges are among them.
    /// @param corners three, world space
    /// @param front   points to the side from which the triangle is seen
    std::vector<ktContactSegment> find(const Point* corners, const Point& front) const;

private:
    ktTriangleTree tree;
    double tolerance; // surfaces this close meet; world units
};
