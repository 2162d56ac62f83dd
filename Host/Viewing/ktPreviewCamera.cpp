// SPDX-License-Identifier: LGPL-2.1-or-later
// Places the camera of the preview: so that it shows the whole scene, or where a camera of the scene is.
#include "ktPreviewCamera.h"

#include <algorithm>
#include <cmath>
#include <limits>

using Vector = ktPreviewCamera::Vector;

namespace {

constexpr double margin = 0.06;             // fraction of half the image that stays empty at each side
constexpr double tanHalfFieldOfView = 0.24; // narrow, so that parallel edges look almost parallel
constexpr int centeringRounds = 4;

Vector add(const Vector& a, const Vector& b, double scale) {
    return {a[0] + scale * b[0], a[1] + scale * b[1], a[2] + scale * b[2]};
}

double dot(const Vector& a, const Vector& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

Vector cross(const Vector& a, const Vector& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

double length(const Vector& a) {
    return std::sqrt(dot(a, a));
}

Vector normalized(const Vector& a) {
    const double size = length(a);
    return {a[0] / size, a[1] / size, a[2] / size};
}

/// Calls visit(position) for each vertex of each triangle; if framedOnly, only in meshes that are framed.
template <typename Visit>
void forEachVertex(const ktPreviewScene& scene, bool framedOnly, Visit visit) {
    for (const ktPreviewMesh& mesh : scene.meshes)
        if (mesh.isFramed || !framedOnly)
            for (const std::uint32_t index : mesh.indices)
                visit(Vector{mesh.positions[index][0], mesh.positions[index][1], mesh.positions[index][2]});
}

/// Moves the camera sideways to centre the scene, and back until the scene fits.
void fit(ktPreviewCamera& camera, const ktPreviewScene& scene, bool framedOnly, const Vector& middle) {
    const double halfWidth = camera.tanHalfWidth * (1 - margin), halfHeight = camera.tanHalfHeight * (1 - margin);
    Vector target = middle;
    for (int round = 0; round < centeringRounds; ++round) {
        double distance = -std::numeric_limits<double>::infinity();
        forEachVertex(scene, framedOnly, [&](const Vector& position) {
            const Vector offset = add(position, target, -1);
            const double depth = dot(offset, camera.forward);
            distance = std::max({distance, std::abs(dot(offset, camera.right)) / halfWidth - depth,
                                 std::abs(dot(offset, camera.up)) / halfHeight - depth});
        });
        camera.eye = add(target, camera.forward, -distance);

        double left = 1e300, right = -1e300, bottom = 1e300, top = -1e300, nearest = 1e300;
        forEachVertex(scene, framedOnly, [&](const Vector& position) {
            const Vector offset = add(position, camera.eye, -1);
            const double depth = dot(offset, camera.forward);
            nearest = std::min(nearest, depth);
            if (depth <= 0)
                return;
            const double x = dot(offset, camera.right) / depth, y = dot(offset, camera.up) / depth;
            left = std::min(left, x), right = std::max(right, x);
            bottom = std::min(bottom, y), top = std::max(top, y);
        });
        const double depth = dot(add(middle, camera.eye, -1), camera.forward);
        if (left > right || depth <= 0)
            return;
        target = add(add(target, camera.right, (left + right) / 2 * depth), camera.up, (bottom + top) / 2 * depth);
    }
}

/// Sets the far distance behind all vertices.
void seeAll(ktPreviewCamera& camera, const ktPreviewScene& scene) {
    forEachVertex(scene, false, [&](const Vector& position) {
        camera.farDistance = std::max(camera.farDistance, 1.01 * length(add(position, camera.eye, -1)));
    });
}

/// Unit vector from the scene to the camera. @param front, right, up of the scene
Vector directionTo(ktPreviewView::Side side, const Vector& front, const Vector& right, const Vector& up) {
    using Side = ktPreviewView::Side;
    const Vector none = {0, 0, 0};
    switch (side) {
    case Side::Front:
        return front;
    case Side::Back:
        return add(none, front, -1);
    case Side::Right:
        return right;
    case Side::Left:
        return add(none, right, -1);
    case Side::Top:
        return up;
    case Side::Bottom:
        return add(none, up, -1);
    default:
        return normalized(add(add(front, right, 0.75), up, 0.62));
    }
}

} // namespace

Vector ktPreviewCamera::direction(double x, double y) const {
    if (isParallel)
        return forward;
    return normalized(add(add(forward, right, x * tanHalfWidth), up, y * tanHalfHeight));
}

Vector ktPreviewCamera::origin(double x, double y) const {
    if (!isParallel)
        return eye;
    return add(add(eye, right, x * tanHalfWidth * targetDistance), up, y * tanHalfHeight * targetDistance);
}

ktPreviewCamera ktFramePreview(const ktPreviewScene& scene, double aspect, const ktPreviewView& view) {
    using Side = ktPreviewView::Side;
    ktPreviewCamera camera;
    const Vector worldUp = {scene.up[0], scene.up[1], scene.up[2]};
    // The front is at +z if y is up, and at -y if z is up.
    const bool isZUp = worldUp[2] > 0.5;
    const Vector unturned = isZUp ? Vector{0, -1, 0} : Vector{0, 0, 1};
    const double turn = std::fmod(view.turn_degrees, 360.0) * (std::acos(-1.0) / 180);
    const Vector front = add(add({0, 0, 0}, unturned, std::cos(turn)), cross(worldUp, unturned), std::sin(turn));
    const Vector side = cross(worldUp, front);
    const Vector toEye = directionTo(view.side, front, side, worldUp);
    const Vector above = view.side == Side::Top      ? add({0, 0, 0}, front, -1)
                         : view.side == Side::Bottom ? front
                                                     : worldUp;
    camera.forward = {-toEye[0], -toEye[1], -toEye[2]};
    camera.right = normalized(cross(camera.forward, above));
    camera.up = cross(camera.right, camera.forward);
    camera.tanHalfWidth = tanHalfFieldOfView * std::max(1.0, aspect);
    camera.tanHalfHeight = camera.tanHalfWidth / aspect;

    Vector low = {1e300, 1e300, 1e300}, high = {-1e300, -1e300, -1e300};
    const auto grow = [&](const Vector& position) {
        for (size_t axis = 0; axis < 3; ++axis) {
            low[axis] = std::min(low[axis], position[axis]);
            high[axis] = std::max(high[axis], position[axis]);
        }
    };
    forEachVertex(scene, true, grow);
    const bool framedOnly = low[0] <= high[0];
    if (!framedOnly)
        forEachVertex(scene, false, grow);
    if (low[0] > high[0])
        return camera;

    const Vector middle = {(low[0] + high[0]) / 2, (low[1] + high[1]) / 2, (low[2] + high[2]) / 2};
    fit(camera, scene, framedOnly, middle);
    if (low == high)
        camera.eye = add(middle, toEye, 1); // a single point
    seeAll(camera, scene);
    return camera;
}

std::optional<ktPreviewCamera> ktAimPreview(const ktPreviewScene& scene, double aspect, const ktPreviewView& view) {
    if (!view.camera)
        return ktFramePreview(scene, aspect, view);
    const ktSceneCamera& from = *view.camera;
    const osg::Matrix toWorld = from.node->getToWorld();
    const auto column = [&toWorld](osg::UInt32 i) { return Vector{toWorld[i][0], toWorld[i][1], toWorld[i][2]}; };
    ktPreviewCamera camera;
    camera.eye = column(3);
    camera.forward = normalized(add({0, 0, 0}, column(2), -1));
    camera.right = normalized(cross(camera.forward, column(1)));
    camera.up = cross(camera.right, camera.forward);
    camera.isParallel = !from.isPerspective;
    camera.targetDistance = 1;
    double shownAspect = from.aspectRatio;
    if (from.isPerspective)
        camera.tanHalfHeight = std::tan(from.heightAngle_rad / 2);
    else {
        // The camera's sizes are in units of its node.
        camera.tanHalfHeight = from.height / 2 * length(column(1));
        shownAspect = from.width / from.height * length(column(0)) / length(column(1));
    }
    camera.tanHalfHeight *= std::max(1.0, shownAspect / aspect);
    camera.tanHalfWidth = camera.tanHalfHeight * aspect;
    for (const double value : {camera.eye[0], camera.eye[1], camera.eye[2], camera.up[0], camera.up[1], camera.up[2],
                               camera.tanHalfWidth, camera.tanHalfHeight})
        if (!std::isfinite(value))
            return {};
    if (!(camera.tanHalfHeight > 0))
        return {};
    seeAll(camera, scene);
    return camera;
}
