// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktViewCamera.h"

/// The part of space that a view shows, without limits of depth except that of the eye.
class ktViewFrustum {
public:
    ktViewFrustum(const ktViewCamera& camera, double aspect);

    /// False only if the box is outside one of the planes; a box near a corner of the view may count as inside.
    bool touches(const ktViewCamera::Box& box) const;

private:
    /// Points p with dot(normal, p) + offset >= 0 are inside.
    struct Plane {
        ktViewCamera::Vector normal;
        double offset;
    };
    std::array<Plane, 5> planes;
    std::size_t count = 0;
};
