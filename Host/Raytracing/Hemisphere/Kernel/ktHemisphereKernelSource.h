// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

// The kernel's source, included by one unit for each instruction set. KT_LANES names the namespace, KT_KERNEL the table
// that the rest of the host sees.

#include "ktHemisphereOneRay.h"
#include "ktHemisphereTilePhase.h"

#include <algorithm>

namespace KT_LANES {
namespace {

template <bool reaches>
void trace(ktHemisphereRef root, const ktHemisphereJob& job, ktHemisphereWork& work) {
    prepareJob(job, work);
    const std::uint32_t places = std::min(ktHemisphereWork::slots >> work.slotShift, ktHemisphereWork::points);
    const auto finish = [&](std::uint32_t place) {
        if (work.point[place].busy)
            rayPhase<reaches>(work, &work.point[place]);
        job.finished(job.receiver, work.point[place].number, work, place << work.slotShift);
    };
    for (std::uint32_t v = 0; v < job.count; ++v) {
        const std::uint32_t place = v % places;
        if (v >= places)
            finish(place);
        prepareVertex<reaches>(*job.batch, *job.vertices[v], v, place, work);
        if (root)
            tilePhase<reaches>(root, work, place);
    }
    for (std::uint32_t v = job.count - std::min(job.count, places); v < job.count; ++v)
        finish(v % places);
}

bool rayOccluded(ktHemisphereRef root, const ktHemisphereRay& ray, bool bothSides) {
    ktHemisphereHit none;
    return traceOne<false>(root, ray, bothSides, none);
}

ktHemisphereHit rayNearest(ktHemisphereRef root, const ktHemisphereRay& ray, bool bothSides) {
    ktHemisphereHit hit{ktHemisphereKernel::noTriangle, 0, 0, 0, false};
    traceOne<true>(root, ray, bothSides, hit);
    return hit;
}

} // namespace
} // namespace KT_LANES

const ktHemisphereKernel KT_KERNEL = {KT_KERNEL_NAME,        KT_KERNEL_LANES,       KT_LANES::trace<false>,
                                      KT_LANES::trace<true>, KT_LANES::rayOccluded, KT_LANES::rayNearest};
