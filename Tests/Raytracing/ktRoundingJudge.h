// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktTracer.h"

#include <vector>

/// Says what a ray meets for certain, and what it may meet by rounding: every triangle is tested in double precision,
/// its edges and the distance limits taken once a little wider and once a little tighter. Shares no code with the
/// tracers.
class ktRoundingJudge {
public:
    /// Share of the largest coordinate by which single precision may move a corner or an origin: some 16 roundings.
    static constexpr double rounding = 1e-6;
    /// Products of three lengths below this are smaller than the smallest normal float, and count as zero.
    static constexpr double underflow = 1e-12;

    struct Verdict {
        bool certain = false;  ///< it meets something well inside all edges and limits
        bool possible = false; ///< it meets something, or passes within rounding
        /// Tracers may differ: all depends on rounding.
        bool isOpenToRounding() const { return possible && !certain; }
    };

    /// @param meshes must outlive the judge
    explicit ktRoundingJudge(const std::vector<ktTracerMesh>& meshes_) : meshes(meshes_) {}

    /// @param origin, direction world space; direction of unit length
    Verdict judge(const float* origin, const float* direction, const ktRayLimits& limits) const;

    /// The direction of ray `ray` of a vertex, as every tracer sends it.
    static void directionOf(const ktRayVertex& vertex, std::uint32_t ray, float* direction);

private:
    const std::vector<ktTracerMesh>& meshes;
};
