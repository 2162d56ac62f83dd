// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktViewScene.h"

/// Uses of one geometry with one material that are drawn together.
struct ktDrawBatch {
    std::uint32_t geometry = 0, material = 0; ///< of the scene
    std::uint32_t level = 0;                  ///< 0: full; i: level i - 1 of the geometry
    bool isMirrored = false;
    std::uint32_t first = 0, count = 0; ///< of ktDrawList::uses
    std::size_t triangles = 0;          ///< of one use, as many of them as are drawn
};

/// What a picture draws, in this order.
struct ktDrawList {
    std::vector<std::uint32_t> uses;  ///< indices into the scene's uses
    std::vector<ktDrawBatch> batches; ///< opaque ones first
    std::size_t opaqueBatches = 0;    ///< the others are drawn from back to front, over them
    std::size_t triangles = 0;        ///< of all batches
};

/// A level as the draw list sees it.
struct ktLevelSize {
    double cellSize = 0; ///< object space
    std::size_t triangles = 0;
};

struct ktDrawChoice {
    double aspect = 1;       ///< width / height of the view
    double height_px = 1000; ///< of the view
    /// Levels are used whose cells are smaller than this on the screen, and uses are left out that are smaller. 0: all
    /// uses, full.
    double detail_px = 0;
    /// The uses that look largest are drawn, up to about so many triangles; a part of a use that has more. 0: all.
    std::size_t mostTriangles = 0;
    bool withGroundPlanes = true;
    bool onlySelected = false;
};

/// Lists the uses that the view may show.
/// @param levels of each geometry of the scene, from fine to coarse; may be shorter than the scene's list
ktDrawList ktMakeDrawList(const ktViewScene& scene, const ktViewCamera& camera, const ktDrawChoice& choice,
                          const std::vector<std::vector<ktLevelSize>>& levels);
