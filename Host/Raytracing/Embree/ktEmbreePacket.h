// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktRayPacket.h"

#include <cmath>
#include <embree3/rtcore.h>
#include <limits>

// One template for Embree's packets of 4, 8 and 16 rays. Only ktEmbreeTracer uses it.

template <int Width>
struct ktEmbreePacket;

template <>
struct ktEmbreePacket<4> {
    using Ray = RTCRay4;
    using RayHit = RTCRayHit4;
    static constexpr auto occluded = rtcOccluded4;
    static constexpr auto intersect = rtcIntersect4;
};

template <>
struct ktEmbreePacket<8> {
    using Ray = RTCRay8;
    using RayHit = RTCRayHit8;
    static constexpr auto occluded = rtcOccluded8;
    static constexpr auto intersect = rtcIntersect8;
};

template <>
struct ktEmbreePacket<16> {
    using Ray = RTCRay16;
    using RayHit = RTCRayHit16;
    static constexpr auto occluded = rtcOccluded16;
    static constexpr auto intersect = rtcIntersect16;
};

/// Sets the members of a packet that are the same for all rays.
template <class Ray, int Width>
void ktPrepareEmbreeRays(Ray& rays) {
    for (int i = 0; i < Width; ++i) {
        rays.time[i] = 0.0f;
        rays.mask[i] = 0xFFFFFFFFu;
        rays.id[i] = 0;
        rays.flags[i] = 0;
    }
}

/// Rejects hits on the back of surfaces, so that the ray goes on. Embree calls it with one packet of hits at a time.
inline void ktRejectBackSides(const RTCFilterFunctionNArguments* arguments) {
    const unsigned int count = arguments->N;
    for (unsigned int i = 0; i < count; ++i) {
        if (arguments->valid[i] == 0)
            continue;
        const float dot = RTCRayN_dir_x(arguments->ray, count, i) * RTCHitN_Ng_x(arguments->hit, count, i) +
                          RTCRayN_dir_y(arguments->ray, count, i) * RTCHitN_Ng_y(arguments->hit, count, i) +
                          RTCRayN_dir_z(arguments->ray, count, i) * RTCHitN_Ng_z(arguments->hit, count, i);
        if (dot > 0.0f)
            arguments->valid[i] = 0;
    }
}
