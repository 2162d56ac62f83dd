// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

// The kernel's source, included by one unit for each instruction set. KT_ISA names the namespace, KT_KERNEL the table
// that the rest of the host sees.

#include "ktSingleRay.h"
#include "ktTilePhase.h"

#include <algorithm>

namespace KT_ISA {
namespace {

template <bool reaches>
void trace(ktWideBvhRef root, const ktKernelJob& job, ktTraversalState& work) {
    prepareJob(job, work);
    const std::uint32_t places = std::min(ktTraversalState::slots >> work.slotShift, ktTraversalState::points);
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

bool rayOccluded(ktWideBvhRef root, const ktKernelRay& ray, bool bothSides) {
    ktKernelHit none;
    return traceOne<false>(root, ray, bothSides, none);
}

ktKernelHit rayNearest(ktWideBvhRef root, const ktKernelRay& ray, bool bothSides) {
    ktKernelHit hit{ktHemisphereKernel::noTriangle, 0, 0, 0, false};
    traceOne<true>(root, ray, bothSides, hit);
    return hit;
}

} // namespace
} // namespace KT_ISA

const ktHemisphereKernel KT_KERNEL = {KT_KERNEL_NAME,      KT_KERNEL_LANES,     KT_ISA::trace<false>,
                                      KT_ISA::trace<true>, KT_ISA::rayOccluded, KT_ISA::rayNearest};
