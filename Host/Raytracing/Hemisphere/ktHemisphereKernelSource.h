// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

// The kernel's source, included by one unit for each instruction set. KT_LANES names the namespace, KT_KERNEL the table
// that the rest of the host sees.

#include "ktHemisphereOneRay.h"
#include "ktHemisphereTilePhase.h"

namespace KT_LANES {
namespace {

template <bool reaches>
void trace(const ktHemisphereView& view, const ktHemisphereBatch& batch, const ktRayVertex& vertex,
           const ktRayLimits& limits, ktHemisphereWork& work) {
    prepareVertex<reaches>(batch, vertex, limits, work);
    if (!view.empty)
        tilePhase<reaches>(view, work);
}

bool rayOccluded(const ktHemisphereView& view, const ktHemisphereRay& ray, bool bothSides) {
    ktHemisphereHit none;
    return traceOne<false>(view, ray, bothSides, none);
}

ktHemisphereHit rayNearest(const ktHemisphereView& view, const ktHemisphereRay& ray, bool bothSides) {
    ktHemisphereHit hit{ktHemisphereKernel::noTriangle, 0, 0, 0, false};
    traceOne<true>(view, ray, bothSides, hit);
    return hit;
}

} // namespace
} // namespace KT_LANES

const ktHemisphereKernel KT_KERNEL = {KT_KERNEL_NAME,        KT_KERNEL_LANES,       KT_LANES::trace<false>,
                                      KT_LANES::trace<true>, KT_LANES::rayOccluded, KT_LANES::rayNearest};
