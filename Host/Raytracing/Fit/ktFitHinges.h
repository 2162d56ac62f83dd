// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktFitMesh.h"

#include <cstdint>
#include <vector>

/// Two faces that share an edge. Unfolded into one plane, a linear function has no kink there. The kink of other values
/// is the sum of factor times value over the four unknowns: the value of the corner nearer to the edge, less what the
/// other face would continue to.
struct ktFitHinge {
    std::uint32_t unknowns[4]; ///< the ends of the edge, then the two corners beside it
    float factors[4];
    float area; ///< of the smaller face
};

/// Finds the hinges of a piece. Edges of one face or of more than two have none, and neither have two faces with the
/// same corners, and needles whose corner lies far beyond the edge. The result does not depend on the number of
/// threads.
/// @param begin, end faces of the piece
/// @throws ktCanceled, std::bad_alloc
std::vector<ktFitHinge> ktFindHinges(const ktFitMesh& mesh, std::size_t begin, std::size_t end);
