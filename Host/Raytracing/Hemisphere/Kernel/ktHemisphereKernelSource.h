// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

// The source of all kernels. One unit for each instruction set includes it. KT_ISA names the namespace, KT_KERNEL the
// function table that the host uses.
// NOLINTBEGIN(misc-definitions-in-headers): each unit defines them with other names

#include "ktSingleRay.h"
#include "ktTilePhase.h"

#include <algorithm>

namespace KT_ISA {
namespace {

template <bool nearest, class Levels>
void trace(const ktBvhView& view, const ktKernelJob& job, ktTraversalState& state) {
    const Levels levels(view);
    prepareJob(job, state);
    const std::uint32_t inFlight =
        std::min(ktTraversalState::maxTiles >> state.tileShift, ktTraversalState::maxVertices);
    const auto finish = [&](std::uint32_t vertexIndex) {
        if (state.vertex[vertexIndex].activeTiles)
            rayPhase<nearest>(levels, state, &state.vertex[vertexIndex]);
        job.finished(job.receiver, state.vertex[vertexIndex].jobIndex, state, vertexIndex << state.tileShift);
    };
    for (std::uint32_t v = 0; v < job.count; ++v) {
        const std::uint32_t vertexIndex = v % inFlight;
        if (v >= inFlight)
            finish(vertexIndex);
        prepareVertex<nearest>(*job.batch, *job.vertices[v], v, vertexIndex, state);
        levels.leaveInstances(state, vertexIndex);
        if (levels.root)
            tilePhase<nearest>(levels, state, vertexIndex);
    }
    for (std::uint32_t v = job.count - std::min(job.count, inFlight); v < job.count; ++v)
        finish(v % inFlight);
}

template <class Levels>
bool rayOccluded(const ktBvhView& view, const ktKernelRay& ray, bool bothSides) {
    ktKernelHit none;
    return traceSingleRay<false>(Levels(view), ray, bothSides, none);
}

template <class Levels>
ktKernelHit rayNearest(const ktBvhView& view, const ktKernelRay& ray, bool bothSides) {
    ktKernelHit hit{ktHemisphereKernel::noTriangle, 0, 0, 0, false};
    traceSingleRay<true>(Levels(view), ray, bothSides, hit);
    return hit;
}

template <class Levels>
constexpr ktKernelFunctions functions = {trace<false, Levels>, trace<true, Levels>, rayOccluded<Levels>,
                                         rayNearest<Levels>};

} // namespace
} // namespace KT_ISA

const ktHemisphereKernel KT_KERNEL = {KT_KERNEL_NAME, KT_KERNEL_LANES, KT_ISA::functions<KT_ISA::OneLevel>,
                                      KT_ISA::functions<KT_ISA::TwoLevel>};
// NOLINTEND(misc-definitions-in-headers)
