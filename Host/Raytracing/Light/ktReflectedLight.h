// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktLitSide.h"
#include "ktOcclusionPass.h"
#include "ktSurfaceColors.h"
#include "ktWorldTransform.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

/// The light that surfaces reflect in one bounce. It needs no scene graph, so another process may have a copy.
/// ktBounceLight makes it and says what surfaces reflect. All pointers belong to others.
class ktReflectedLight {
public:
    /// Direct light that is traced when needed, vertex by vertex.
    struct Lazy {
        ktWorldTransform toWorld;
        const float* positions = nullptr;
        const float* normals = nullptr; ///< null: no light can be traced
        std::vector<float> light;       ///< three floats per vertex, valid where `isTraced`
        std::unique_ptr<std::atomic<bool>[]> isTraced;

        /// No light is traced yet.
        explicit Lazy(std::uint32_t vertices)
            : light(3 * std::size_t(vertices)), isTraced(std::make_unique<std::atomic<bool>[]>(vertices)) {}
    };
    struct Surface {
        const std::vector<std::uint32_t>* triangles = nullptr; ///< three vertices each; not null
        const std::vector<float>* received = nullptr;          ///< three floats per vertex; null: dark
        Lazy* lazy = nullptr;                                  ///< adds to `received`
        const ktLitSide* litSide = nullptr;                    ///< not null
        std::shared_ptr<const ktSurfaceColors> colors;         ///< null: `albedo` everywhere
        float albedo[3] = {1, 1, 1};
    };

    std::vector<Surface> surfaces; ///< by the tracer's mesh
    ktOcclusionTask direct;        ///< how to trace direct light
    bool usesLightColor = false;   ///< direct light is the colour of the lights, not w
    bool hasColorBleeding = false; ///< light takes the colour of the surface; false: its luminance

    /// Adds up the light (linear red, green, blue) that surfaces reflect at the hits of rays. Any thread.
    /// @param hits  from a tracer
    /// @param lanes bit i: ray i counts
    /// @param sum   three floats; light is added ray by ray, in ascending order
    /// @throws ktCanceled
    void addRadiance(const ktHitPacket& hits, std::uint32_t lanes, float* sum) const;

    /// Differs between any two states of such objects in this process. 0: nothing was set yet.
    std::uint64_t version() const { return currentVersion; }
    /// Call when anything has changed.
    void renew();

private:
    bool isLit(const ktHitPacket& hits, std::uint32_t lane) const;
    void radiance(const Surface& surface, std::uint32_t triangle, float u, float v, float* color) const;
    void addLazy(Lazy& lazy, std::uint32_t vertex, float weight, float* light) const;

    std::uint64_t currentVersion = 0;
    std::unique_ptr<std::mutex> lazyLock = std::make_unique<std::mutex>(); ///< for writing
};
