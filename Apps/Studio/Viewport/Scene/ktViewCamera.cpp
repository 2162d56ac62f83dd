// SPDX-License-Identifier: LGPL-2.1-or-later
// The camera of the viewport: orbit, pan, zoom, frame, standard views, projection.
#include "ktViewCamera.h"

#include <algorithm>
#include <cmath>

using Vector = ktViewCamera::Vector;

namespace {

constexpr double margin = 0.06; // fraction of half the view that stays empty at each side
constexpr int centeringRounds = 5;
constexpr double steepest_rad = 1.5707;   // just below a right angle: the direction and up never coincide
constexpr double leastNearShare = 0.0002; // near / far: keeps the depth buffer precise

Vector add(const Vector& a, const Vector& b, double scale = 1) {
    return {a[0] + scale * b[0], a[1] + scale * b[1], a[2] + scale * b[2]};
}

double dot(const Vector& a, const Vector& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

Vector cross(const Vector& a, const Vector& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

Vector normalized(const Vector& a) {
    const double length = std::sqrt(dot(a, a));
    return length > 0 ? Vector{a[0] / length, a[1] / length, a[2] / length} : Vector{0, 0, -1};
}

/// Calls visit(corner) for the eight corners.
template <typename Visit>
void forEachCorner(const ktViewCamera::Box& box, Visit visit) {
    for (unsigned corner = 0; corner < 8; ++corner)
        visit(Vector{(corner & 1 ? box.high : box.low)[0], (corner & 2 ? box.high : box.low)[1],
                     (corner & 4 ? box.high : box.low)[2]});
}

} // namespace

void ktViewCamera::Box::extend(const Vector& point) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
        low[axis] = std::min(low[axis], point[axis]);
        high[axis] = std::max(high[axis], point[axis]);
    }
}

void ktViewCamera::Box::extend(const Box& other) {
    if (other.isEmpty())
        return;
    extend(other.low);
    extend(other.high);
}

Vector ktViewCamera::Box::centre() const {
    return {(low[0] + high[0]) / 2, (low[1] + high[1]) / 2, (low[2] + high[2]) / 2};
}

double ktViewCamera::Box::diagonal() const {
    return isEmpty() ? 0.0 : std::hypot(high[0] - low[0], high[1] - low[1], high[2] - low[2]);
}

ktViewCamera::ktViewCamera(double heightAngle_rad) {
    setHeightAngle(heightAngle_rad);
    setDirection(normalized({-0.75, -0.62, -1}), {0, 1, 0}); // as the preview: from the front, the right and above
}

void ktViewCamera::setHeightAngle(double heightAngle_rad) {
    tanHalfHeight = std::tan(std::clamp(heightAngle_rad, 0.01, 3.0) / 2);
}

void ktViewCamera::setDirection(const Vector& forward, const Vector& upHint) {
    forwardAxis = forward;
    rightAxis = normalized(cross(forward, upHint));
    upAxis = cross(rightAxis, forward);
}

Vector ktViewCamera::eye() const {
    return add(targetPoint, forwardAxis, -targetDistance);
}

void ktViewCamera::orbit(double right_rad, double up_rad) {
    const double steepness = std::asin(std::clamp(-forwardAxis[1], -1.0, 1.0)); // of the eye above the target
    // Looking straight down, the direction says nothing about the turn; up does.
    const Vector flat =
        std::abs(forwardAxis[1]) > 0.999 ? add({0, 0, 0}, upAxis, forwardAxis[1] < 0 ? 1 : -1) : forwardAxis;
    const double turn = std::atan2(-flat[0], -flat[2]) + right_rad;
    const double newSteepness = std::clamp(steepness + up_rad, -steepest_rad, steepest_rad);
    const Vector toEye = {std::cos(newSteepness) * std::sin(turn), std::sin(newSteepness),
                          std::cos(newSteepness) * std::cos(turn)};
    setDirection({-toEye[0], -toEye[1], -toEye[2]}, {0, 1, 0});
}

void ktViewCamera::pan(double dx, double dy, double aspect) {
    targetPoint = add(add(targetPoint, rightAxis, -dx * halfHeight() * aspect), upAxis, -dy * halfHeight());
}

void ktViewCamera::zoom(double factor, double x, double y, double aspect) {
    const double before = targetDistance;
    targetDistance = std::clamp(targetDistance * factor, 1e-6, 1e12);
    const double moved = (before - targetDistance) * tanHalfHeight;
    targetPoint = add(add(targetPoint, rightAxis, x * aspect * moved), upAxis, y * moved);
}

void ktViewCamera::lookAt(const Vector& point) {
    targetPoint = point;
}

void ktViewCamera::frame(const std::vector<Box>& boxes, double aspect) {
    Box all;
    for (const Box& box : boxes)
        all.extend(box);
    if (all.isEmpty())
        return;
    targetPoint = all.centre();
    const double halfY = tanHalfHeight * (1 - margin), halfX = halfY * aspect;
    const auto forEachPoint = [&boxes](const auto& visit) {
        for (const Box& box : boxes)
            if (!box.isEmpty())
                forEachCorner(box, visit);
    };
    for (int round = 0; round < centeringRounds; ++round) {
        double least = -1e300;
        forEachPoint([&](const Vector& point) {
            const Vector offset = add(point, targetPoint, -1);
            const double depth = isParallelProjection ? 0 : dot(offset, forwardAxis);
            least = std::max({least, std::abs(dot(offset, rightAxis)) / halfX - depth,
                              std::abs(dot(offset, upAxis)) / halfY - depth});
        });
        targetDistance = least > 0 ? least : 1; // a single point
        Vector low = {1e300, 1e300, 0}, high = {-1e300, -1e300, 0};
        forEachPoint([&](const Vector& point) {
            const auto place = project(point, aspect);
            for (std::size_t axis = 0; place && axis < 2; ++axis) {
                low[axis] = std::min(low[axis], (*place)[axis]);
                high[axis] = std::max(high[axis], (*place)[axis]);
            }
        });
        if (low[0] > high[0] || round + 1 == centeringRounds)
            return;
        targetPoint = add(add(targetPoint, rightAxis, (low[0] + high[0]) / 2 * halfHeight() * aspect), upAxis,
                          (low[1] + high[1]) / 2 * halfHeight());
    }
}

void ktViewCamera::setStandardView(ktStandardView view) {
    switch (view) {
    case ktStandardView::Front:
        return setDirection({0, 0, -1}, {0, 1, 0});
    case ktStandardView::Back:
        return setDirection({0, 0, 1}, {0, 1, 0});
    case ktStandardView::Left:
        return setDirection({1, 0, 0}, {0, 1, 0});
    case ktStandardView::Right:
        return setDirection({-1, 0, 0}, {0, 1, 0});
    case ktStandardView::Top:
        return setDirection({0, -1, 0}, {0, 0, -1});
    case ktStandardView::Bottom:
        return setDirection({0, 1, 0}, {0, 0, 1});
    }
}

void ktViewCamera::place(const Vector& eye, const Vector& forward, const Vector& up, double newDistance) {
    targetDistance = std::max(newDistance, 1e-6);
    setDirection(normalized(forward), up);
    targetPoint = add(eye, forwardAxis, targetDistance);
}

ktViewCamera::Ray ktViewCamera::ray(double x, double y, double aspect) const {
    const double toRight = x * aspect * tanHalfHeight, toUp = y * tanHalfHeight;
    if (isParallelProjection)
        return {add(add(eye(), rightAxis, toRight * targetDistance), upAxis, toUp * targetDistance), forwardAxis};
    return {eye(), normalized(add(add(forwardAxis, rightAxis, toRight), upAxis, toUp))};
}

std::optional<Vector> ktViewCamera::project(const Vector& point, double aspect) const {
    const Vector offset = add(point, eye(), -1);
    const double depth = dot(offset, forwardAxis);
    if (!isParallelProjection && depth <= 0)
        return {};
    const double half = (isParallelProjection ? targetDistance : depth) * tanHalfHeight;
    return Vector{dot(offset, rightAxis) / (half * aspect), dot(offset, upAxis) / half, depth};
}

ktViewCamera::Depths ktViewCamera::depthsOf(const Box& scene) const {
    Depths depths = {1e300, -1e300};
    const Vector from = eye();
    if (scene.isEmpty())
        return {targetDistance * 0.5, targetDistance * 2};
    forEachCorner(scene, [&](const Vector& corner) {
        const double depth = dot(add(corner, from, -1), forwardAxis);
        depths.nearest = std::min(depths.nearest, depth);
        depths.farthest = std::max(depths.farthest, depth);
    });
    const double spare = 0.001 * (depths.farthest - depths.nearest) + 1e-6 * targetDistance;
    return {depths.nearest - spare, depths.farthest + spare};
}

ktPreviewCamera ktViewCamera::previewCamera(double aspect, const Box& scene) const {
    ktPreviewCamera camera;
    camera.right = rightAxis, camera.up = upAxis, camera.forward = forwardAxis;
    camera.tanHalfHeight = tanHalfHeight;
    camera.tanHalfWidth = tanHalfHeight * aspect;
    camera.eye = eye();
    camera.isParallel = isParallelProjection;
    camera.targetDistance = targetDistance;
    if (isParallelProjection) // no surface is behind the eye
        camera.eye = add(camera.eye, forwardAxis, std::min(0.0, depthsOf(scene).nearest));
    if (!scene.isEmpty())
        forEachCorner(scene, [&](const Vector& corner) {
            const Vector offset = add(corner, camera.eye, -1);
            camera.farDistance = std::max(camera.farDistance, 1.01 * std::sqrt(dot(offset, offset)) + targetDistance);
        });
    return camera;
}

std::array<double, 16> ktViewCamera::viewMatrix() const {
    const Vector from = eye();
    return {rightAxis[0],          upAxis[0],          -forwardAxis[0],        0,
            rightAxis[1],          upAxis[1],          -forwardAxis[1],        0,
            rightAxis[2],          upAxis[2],          -forwardAxis[2],        0,
            -dot(rightAxis, from), -dot(upAxis, from), dot(forwardAxis, from), 1};
}

std::array<double, 16> ktViewCamera::projectionMatrix(double aspect, const Box& scene) const {
    auto [nearest, farthest] = depthsOf(scene);
    if (isParallelProjection) {
        const double half = halfHeight();
        return {1 / (half * aspect),
                0,
                0,
                0,
                0,
                1 / half,
                0,
                0,
                0,
                0,
                -2 / (farthest - nearest),
                0,
                0,
                0,
                -(farthest + nearest) / (farthest - nearest),
                1};
    }
    farthest = std::max(farthest, 1e-3 * targetDistance);
    nearest = std::max(nearest, leastNearShare * farthest);
    farthest = std::max(farthest, 1.001 * nearest);
    return {1 / (tanHalfHeight * aspect),
            0,
            0,
            0,
            0,
            1 / tanHalfHeight,
            0,
            0,
            0,
            0,
            -(farthest + nearest) / (farthest - nearest),
            -1,
            0,
            0,
            -2 * farthest * nearest / (farthest - nearest),
            0};
}
