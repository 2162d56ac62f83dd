// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktTileRotation.h"
#include "ktTracer.h"

#include <string>

struct RTCDeviceTy;
struct RTCSceneTy;

/// Traces with Embree, in packets as wide as the processor supports. The reference for the hemisphere tracer. Builds
/// one structure over all meshes.
class ktEmbreeTracer : public ktTracer {
public:
    enum class Quality {
        High,  ///< so that tracing is fast
        Medium ///< built in less than half the time; for few rays
    };

    /// @param config device options of Embree ("isa=avx2", "verbose=1"); null for its defaults
    /// @param quality of the structure
    /// @throws std::runtime_error if Embree cannot start
    explicit ktEmbreeTracer(const char* config = nullptr, Quality quality = Quality::High);
    ~ktEmbreeTracer() override;

    bool build(const std::vector<ktTracerMesh>& meshes, const Progress& progress) override;
    void countVisible(const ktRayVertex* vertices, std::uint32_t count, const ktRayLimits& limits,
                      std::uint32_t* visible, std::uint64_t* const* masks) const override;
    void findNearest(const ktRayVertex* vertices, std::uint32_t count, const ktRayLimits& limits,
                     ktHitReceiver& receiver) const override;
    std::uint32_t occluded(const ktRayPacket& rays, bool bothSides) const override;
    void nearest(const ktRayPacket& rays, bool bothSides, ktHitPacket& hits) const override;

    /// Rays that are traced together: 16, 8 or 4.
    std::uint32_t packetWidth() const { return width; }

private:
    void start();
    void clear();

    const std::string config;
    RTCDeviceTy* device = nullptr; // null after a build without memory
    RTCSceneTy* scene = nullptr;
    const Quality quality;
    ktRotateTile rotateTile;
    std::uint32_t width = 4;
};
