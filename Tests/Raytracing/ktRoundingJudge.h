// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktTracer.h"

#include <vector>

/// Says whether a ray certainly hits something, or whether the hit depends on rounding. Tests every triangle in double
/// precision, once with slightly wider and once with slightly tighter edges and distance limits. Shares no code with
/// the tracers.
class ktRoundingJudge {
public:
    /// Relative to the largest coordinate: how far single precision may move a corner or an origin, about 16 roundings.
    static constexpr double rounding = 1e-6;
    /// Products of three shorter lengths are smaller than the smallest normal float and count as zero.
    static constexpr double underflow = 1e-12;

    struct Verdict {
        bool certain = false;  ///< it hits something clearly inside all edges and limits
        bool possible = false; ///< it hits something, or misses it by less than rounding
        /// True: rounding decides, so tracers may differ.
        bool isOpenToRounding() const { return possible && !certain; }
    };

    /// @param meshes must outlive this object
    explicit ktRoundingJudge(const std::vector<ktTracerMesh>& meshes_) : meshes(meshes_) {}

    /// @param origin, direction in world space; the direction has unit length
    Verdict judge(const float* origin, const float* direction, const ktRayLimits& limits) const;

    /// World direction of ray `ray` of a vertex, as every tracer sends it.
    static void directionOf(const ktRayVertex& vertex, std::uint32_t ray, float* direction);

private:
    const std::vector<ktTracerMesh>& meshes;
};
