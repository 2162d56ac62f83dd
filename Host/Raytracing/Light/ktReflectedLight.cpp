// SPDX-License-Identifier: LGPL-2.1-or-later
// Adds up the light that surfaces reflect at ray hits.
#include "ktReflectedLight.h"

#include "ktLuminance.h"

#include <algorithm>

namespace {

void toLuminance(float* color) {
    color[0] = color[1] = color[2] = ktLuminance(color);
}

} // namespace

void ktReflectedLight::renew() {
    static std::atomic<std::uint64_t> last{0};
    currentVersion = ++last;
}

// Two threads may trace the same vertex at the same time: both find the same light.
void ktReflectedLight::addLazy(Lazy& lazy, std::uint32_t vertex, float weight, float* light) const {
    if (!lazy.normals)
        return;
    float* const stored = &lazy.light[3 * std::size_t(vertex)];
    float traced[3];
    if (lazy.isTraced[vertex].load(std::memory_order_acquire)) {
        std::copy_n(stored, 3, traced);
    } else {
        ktOcclusionTask task = direct;
        task.helpers = nullptr;
        const std::size_t first = 3 * std::size_t(vertex);
        task.setVertices(lazy.toWorld, 1, lazy.positions + first, lazy.normals + first, nullptr);
        osg::Vec4f result;
        std::atomic<std::uint32_t> done{0};
        ktTraceOcclusion(task, &result, done);
        for (osg::UInt32 c = 0; c < 3; ++c)
            traced[c] = usesLightColor ? result[c] : result[3];
        const std::lock_guard<std::mutex> guard(*lazyLock);
        if (!lazy.isTraced[vertex].load(std::memory_order_relaxed)) { // otherwise other threads may read it
            std::copy_n(traced, 3, stored);
            lazy.isTraced[vertex].store(true, std::memory_order_release);
        }
    }
    for (int c = 0; c < 3; ++c)
        light[c] += weight * traced[c];
}

inline void ktReflectedLight::radiance(const Surface& surface, std::uint32_t triangle, float u, float v,
                                       float* color) const {
    const std::uint32_t* corners = &(*surface.triangles)[3 * std::size_t(triangle)];
    const float weights[3] = {1.0f - u - v, u, v};
    color[0] = color[1] = color[2] = 0.0f;
    for (int corner = 0; corner < 3; ++corner) {
        if (surface.received) {
            const float* received = &(*surface.received)[3 * std::size_t(corners[corner])];
            for (int c = 0; c < 3; ++c)
                color[c] += weights[corner] * received[c];
        } else if (surface.lazy) {
            addLazy(*surface.lazy, corners[corner], weights[corner], color);
        }
    }
    float albedo[3] = {surface.albedo[0], surface.albedo[1], surface.albedo[2]};
    if (surface.colors) {
        std::copy_n(surface.colors->at(corners, u, v).data(), 3, albedo);
        if (!hasColorBleeding)
            toLuminance(albedo);
    }
    for (int c = 0; c < 3; ++c)
        color[c] *= albedo[c];
}

inline bool ktReflectedLight::isLit(const ktHitPacket& hits, std::uint32_t lane) const {
    return surfaces[hits.mesh[lane]].litSide->isLit(hits.triangle[lane], (hits.backSide >> lane & 1u) != 0);
}

void ktReflectedLight::addRadiance(const ktHitPacket& hits, std::uint32_t lanes, float* sum) const {
    float total[3] = {sum[0], sum[1], sum[2]};
    for (std::uint32_t left = lanes; left != 0; left &= left - 1) {
        const auto i = static_cast<std::uint32_t>(__builtin_ctz(left));
        if (hits.mesh[i] == ktHitPacket::noMesh || !isLit(hits, i))
            continue;
        float color[3];
        radiance(surfaces[hits.mesh[i]], hits.triangle[i], hits.u[i], hits.v[i], color);
        for (int c = 0; c < 3; ++c)
            total[c] += color[c];
    }
    std::copy_n(total, 3, sum);
}
