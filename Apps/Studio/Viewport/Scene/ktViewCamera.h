// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktPreviewCamera.h"
#include "ktViewTypes.h"

#include <array>
#include <optional>
#include <vector>

/// The camera of the viewport: it looks at a target and orbits around it. World space, millimetres. y is up.
/// Points of the view are x and y from -1 (left, bottom) to 1 (right, top).
class ktViewCamera {
public:
    using Vector = std::array<double, 3>;

    /// An axis-aligned box; empty if low[0] > high[0].
    struct Box {
        Vector low = {1e300, 1e300, 1e300}, high = {-1e300, -1e300, -1e300};

        bool isEmpty() const { return low[0] > high[0]; }
        void extend(const Vector& point);
        void extend(const Box& other);
        Vector centre() const;
        double diagonal() const; ///< 0 if empty
    };

    /// A ray of the view. The direction has unit length.
    struct Ray {
        Vector origin, direction;
    };

    /// @param heightAngle_rad vertical angle of view, 0.01 to 3
    explicit ktViewCamera(double heightAngle_rad = 0.47);

    /// Turns around the target: to the right and up for positive angles, as if the scene turned the other way. Stops
    /// before it is upside down.
    void orbit(double right_rad, double up_rad);
    /// Moves so that the plane of the target follows the pointer.
    void pan(double dx, double dy, double aspect);
    /// Changes the distance by a factor above 0. The point of the target's plane at (x, y) keeps its place in the view.
    void zoom(double factor, double x, double y, double aspect);
    /// Moves the target, and the camera with it, to look at a point from the same distance and direction.
    void lookAt(const Vector& point);
    /// Shows all boxes, as large as possible, from the present direction. Does nothing without a box that is not empty.
    void frame(const std::vector<Box>& boxes, double aspect);
    /// Looks along an axis at the same target.
    void setStandardView(ktStandardView view);
    /// Places the camera.
    /// @param forward, up unit vectors; a camera that is rolled is set upright at the next orbit
    void place(const Vector& eye, const Vector& forward, const Vector& up, double targetDistance);
    void setParallel(bool parallel) { isParallelProjection = parallel; }
    void setHeightAngle(double heightAngle_rad);

    bool isParallel() const { return isParallelProjection; }
    const Vector& target() const { return targetPoint; }
    double distance() const { return targetDistance; }
    Vector eye() const;
    const Vector& right() const { return rightAxis; }
    const Vector& up() const { return upAxis; }
    const Vector& forward() const { return forwardAxis; }
    /// Half the height of the view at the distance of the target.
    double halfHeight() const { return targetDistance * tanHalfHeight; }

    Ray ray(double x, double y, double aspect) const;
    /// Where a point is in the view, and its depth along forward(); empty if it is behind a perspective camera.
    std::optional<Vector> project(const Vector& point, double aspect) const;
    /// The camera of the preview with the same view.
    ktPreviewCamera previewCamera(double aspect, const Box& scene) const;

    /// World to view: x right, y up, -z forward. Column by column.
    std::array<double, 16> viewMatrix() const;
    /// View to clip space of OpenGL. The depth range contains the box.
    std::array<double, 16> projectionMatrix(double aspect, const Box& scene) const;

private:
    struct Depths {
        double nearest, farthest;
    };

    void setDirection(const Vector& forward, const Vector& upHint);
    Depths depthsOf(const Box& scene) const;

    Vector targetPoint = {0, 0, 0};
    Vector rightAxis = {1, 0, 0}, upAxis = {0, 1, 0}, forwardAxis = {0, 0, -1};
    double targetDistance = 1000;
    double tanHalfHeight = 0.24;
    bool isParallelProjection = false;
};
