// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktQualityScene.h"

struct RTCDeviceTy;
struct RTCSceneTy;

/// What brute force finds at a point.
struct ktSkyEstimate {
    float sky = 0;      ///< share of the rays that hit nothing
    float variance = 0; ///< of `sky`, because the number of rays is finite; estimated from the rays
    /// The point is inside a solid: more than half of the hits are back sides. Rays below the face do not count here,
    /// since they see the inside of their own solid.
    bool isInside = false;
};

/// How rays are traced.
struct ktSkyReferenceOptions {
    double minDistance_mm = 0; ///< nearer hits are ignored; at least half of the offset of the origin
    double maxDistance_mm = 0; ///< farther hits are ignored
    unsigned rays = 4096;      ///< per point, at least 2
    unsigned threads = 0;      ///< 0: one a core
    std::uint64_t seed = 1;
};

/// The true w of points, by brute force: plain rays of Embree in independent random directions, cosine-weighted about
/// the interpolated and normalised shading normal. Both sides of a surface occlude. A ray starts at its point, moved
/// off the face along the geometric normal, to the side of the shading normal, by little more than rounding errors.
/// Uses nothing of the host's tracers.
class ktSkyReference {
public:
    /// Builds the structure over the occluders of the scene, which must outlive this object.
    explicit ktSkyReference(const ktQualityScene& scene);
    ~ktSkyReference();
    ktSkyReference(const ktSkyReference&) = delete;
    ktSkyReference& operator=(const ktSkyReference&) = delete;

    /// One estimate per point. Does not depend on the number of threads.
    std::vector<ktSkyEstimate> estimate(const std::vector<ktQualityPoint>& points,
                                        const ktSkyReferenceOptions& options) const;

private:
    const ktQualityScene& scene;
    RTCDeviceTy* device;
    RTCSceneTy* structure;
    double diagonal;
};
