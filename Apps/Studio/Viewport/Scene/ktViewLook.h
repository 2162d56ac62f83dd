// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktPreviewRenderer.h"
#include "ktViewTypes.h"

/// How a picture of the viewport looks.
struct ktViewLook {
    ktViewMode mode = ktViewMode::Baked;
    ktComparison comparison = ktComparison::None;
    double divider = 0.5; ///< 0 (left) to 1 (right)
    bool hasWires = false;
    bool hasHeadlight = false;
    bool hasGroundPlanes = true;
    float exposure = 1;
    ktPreviewBackground background;
};
