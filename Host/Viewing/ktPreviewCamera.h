// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktPreviewScene.h"

/// A perspective camera in world space.
struct ktPreviewCamera {
    using Vector = std::array<double, 3>;

    Vector eye = {0, 0, 0};
    Vector right = {1, 0, 0}, up = {0, 1, 0}, forward = {0, 0, -1}; ///< orthonormal
    double tanHalfWidth = 0.3, tanHalfHeight = 0.3;                 ///< extent of the image at distance 1
    double farDistance = 1;                                         ///< everything lies nearer than this

    /// Unit direction through a point of the image; x and y from -1 (left, bottom) to 1.
    Vector direction(double x, double y) const;
};

/// A camera that looks at the scene from the front, the right and above, a little back so that everything fits.
/// @param aspect width over height of the image
/// @param turn_degrees how far the camera goes round the scene from there: counterclockwise, seen from above
/// A scene without vertices gives a camera that looks at nothing.
ktPreviewCamera ktFramePreview(const ktPreviewScene& scene, double aspect, double turn_degrees = 0);
