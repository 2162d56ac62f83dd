// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktTileRotation.h"
#include "ktTracer.h"

struct RTCDeviceTy;
struct RTCSceneTy;

/// The yardstick: the fastest plain way to trace a vertex's rays with Embree, in packets of 16 neighbouring directions.
/// This is fastest on processors where Embree traces 16 rays at a time.
class ktEmbreeLoop {
public:
    enum class Mode {
        Fast,  ///< Embree's default mode: the yardstick
        Robust ///< conservative boxes, watertight edges: slower, to check hits
    };

    explicit ktEmbreeLoop(Mode mode = Mode::Fast);
    ~ktEmbreeLoop();
    ktEmbreeLoop(const ktEmbreeLoop&) = delete;
    ktEmbreeLoop& operator=(const ktEmbreeLoop&) = delete;

    /// The meshes' arrays must outlive this object.
    void build(const std::vector<ktTracerMesh>& meshes);
    /// Number of rays that hit nothing (incoherent flag); `mask` as in ktTracer::countVisible(), may be null.
    std::uint32_t visible(const ktRayVertex& vertex, const ktRayLimits& limits, std::uint64_t* mask) const;
    /// Number of rays that hit something, found by nearest hits (coherent flag).
    std::uint32_t nearest(const ktRayVertex& vertex, const ktRayLimits& limits) const;

private:
    RTCDeviceTy* device;
    RTCSceneTy* scene;
    ktRotateTile rotateTile;
};
