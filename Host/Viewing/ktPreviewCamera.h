// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktPreviewScene.h"
#include "ktPreviewView.h"

#include <optional>

/// A camera in world space.
struct ktPreviewCamera {
    using Vector = std::array<double, 3>;

    Vector eye = {0, 0, 0};
    Vector right = {1, 0, 0}, up = {0, 1, 0}, forward = {0, 0, -1}; ///< orthonormal
    double tanHalfWidth = 0.3, tanHalfHeight = 0.3;                 ///< extent of the image at distance 1
    double farDistance = 1;                                         ///< all vertices are nearer than this

    bool isParallel = false;   ///< parallel projection, else perspective
    double targetDistance = 1; ///< parallel: a perspective camera would show the same extent at this distance

    /// Unit direction through a point of the image. x and y from -1 (left, bottom) to 1.
    Vector direction(double x, double y) const;
    /// Where the ray through that point starts.
    Vector origin(double x, double y) const;
};

/// Returns a perspective camera that shows the whole scene from a side.
/// @param aspect width / height of the image
/// @param view   its camera is ignored
/// For a scene without vertices the camera sees nothing.
ktPreviewCamera ktFramePreview(const ktPreviewScene& scene, double aspect, const ktPreviewView& view = {});

/// Returns the camera of a view: the scene's camera if the view has one, else ktFramePreview(). If the image is
/// narrower than the camera's view, it shows more above and below.
/// @return empty if the matrix of the scene's camera gives no direction
std::optional<ktPreviewCamera> ktAimPreview(const ktPreviewScene& scene, double aspect, const ktPreviewView& view);
