// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktTileRotation.h"
#include "ktTracer.h"

struct RTCDeviceTy;
struct RTCSceneTy;

/// The fastest plain way to trace a vertex's rays with Embree, as a yardstick: packets of 16 neighbouring directions.
/// Takes a processor on which Embree traces 16 rays at a time for its best.
class ktEmbreeLoop {
public:
    enum class Mode {
        Fast,  ///< Embree as it is: the yardstick
        Robust ///< conservative boxes, watertight edges: slower, and the better judge of answers
    };

    explicit ktEmbreeLoop(Mode mode = Mode::Fast);
    ~ktEmbreeLoop();
    ktEmbreeLoop(const ktEmbreeLoop&) = delete;
    ktEmbreeLoop& operator=(const ktEmbreeLoop&) = delete;

    /// The meshes' arrays must outlive this object.
    void build(const std::vector<ktTracerMesh>& meshes);
    /// Rays that meet nothing (incoherent flag); `mask` null or one bit a ray, as in ktTracer::countVisible().
    std::uint32_t visible(const ktRayVertex& vertex, const ktRayLimits& limits, std::uint64_t* mask) const;
    /// Rays that meet something, found by nearest hits (coherent flag).
    std::uint32_t nearest(const ktRayVertex& vertex, const ktRayLimits& limits) const;

private:
    RTCDeviceTy* device;
    RTCSceneTy* scene;
    ktRotateTile rotateTile;
};
