// SPDX-License-Identifier: LGPL-2.1-or-later
// Tells which boxes a view may show.
#include "ktViewFrustum.h"

namespace {

using Vector = ktViewCamera::Vector;

double dot(const Vector& a, const Vector& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

Vector cross(const Vector& a, const Vector& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

} // namespace

ktViewFrustum::ktViewFrustum(const ktViewCamera& camera, double aspect) {
    const auto add = [this](const Vector& normal, const Vector& point) {
        planes[count++] = {normal, -dot(normal, point)};
    };
    const auto left = camera.ray(-1, 0, aspect), right = camera.ray(1, 0, aspect);
    const auto bottom = camera.ray(0, -1, aspect), top = camera.ray(0, 1, aspect);
    add(cross(left.direction, camera.up()), left.origin);
    add(cross(camera.up(), right.direction), right.origin);
    add(cross(camera.right(), bottom.direction), bottom.origin);
    add(cross(top.direction, camera.right()), top.origin);
    if (!camera.isParallel())
        add(camera.forward(), camera.eye());
}

bool ktViewFrustum::touches(const ktViewCamera::Box& box) const {
    for (std::size_t i = 0; i < count; ++i) {
        double farthest = planes[i].offset; // of the corner that is farthest inside
        for (std::size_t axis = 0; axis < 3; ++axis)
            farthest += planes[i].normal[axis] * (planes[i].normal[axis] > 0 ? box.high : box.low)[axis];
        if (farthest < 0)
            return false;
    }
    return true;
}
