// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktQualityScene.h"

struct RTCDeviceTy;
struct RTCSceneTy;

/// What brute force finds at a point.
struct ktQualityEstimate {
    float sky = 0;                               ///< share of the rays that hit nothing
    float skyVariance = 0;                       ///< of `sky`, because the number of rays is finite; from the rays
    std::array<float, 3> light = {0, 0, 0};      ///< `sky` and the light of the bounces that arrives; red, green, blue
    std::array<float, 3> lightVariance{0, 0, 0}; ///< of `light`, likewise
    /// The point is inside a solid: more than half of the hits are back sides. Rays below the face do not count here,
    /// since they see the inside of their own solid.
    bool isInside = false;
};

/// How rays are traced.
struct ktQualityTracing {
    double minDistance_mm = 0; ///< nearer hits are ignored; at least half of the offset of the origin
    double maxDistance_mm = 0; ///< farther hits are ignored
    unsigned bounces = 0;      ///< how often light is reflected; 0: `light` is `sky`
    unsigned rays = 4096;      ///< per point, at least 2
    unsigned threads = 0;      ///< 0: one a core
    std::uint64_t seed = 1;
};

/// The true w and the true light of points, by brute force: plain rays of Embree in independent random directions,
/// cosine-weighted about the interpolated and normalised shading normal. Both sides of a surface occlude. A ray starts
/// at its point, moved off the face along the geometric normal, to the side of the shading normal, by little more than
/// rounding errors. Where a ray hits the front side of a surface, one random ray goes on, with the surface's colour as
/// its weight; back sides reflect nothing. So both results are without bias. Uses nothing of the host's tracers.
class ktQualityReference {
public:
    /// Builds the structure over the occluders of the scene, which must outlive this object.
    explicit ktQualityReference(const ktQualityScene& scene);
    ~ktQualityReference();
    ktQualityReference(const ktQualityReference&) = delete;
    ktQualityReference& operator=(const ktQualityReference&) = delete;

    /// One estimate per point. Does not depend on the number of threads.
    std::vector<ktQualityEstimate> estimate(const std::vector<ktQualityPoint>& points,
                                            const ktQualityTracing& tracing) const;

    /// Distance of each point to the nearest triangle of another mesh that occludes; infinite if it is above the limit.
    /// @param threads 0: one a core
    std::vector<double> distancesToOthers(const std::vector<ktQualityPoint>& points, double limit_mm,
                                          unsigned threads) const;

private:
    const ktQualityScene& scene;
    RTCDeviceTy* device;
    RTCSceneTy* structure;
    std::vector<std::uint32_t> meshes; ///< of the scene, by Embree's number of the geometry
    double diagonal;
};
