// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktLitSide.h"
#include "ktOcclusionPass.h"
#include "ktReflectedLight.h"
#include "ktSurfaceColors.h"
#include "ktTracedScene.h"

#include <map>
#include <memory>
#include <vector>

/// How a surface reflects light.
struct ktBounceSettings {
    bool colorBleeding = false; ///< light takes the colour of the surface; false: its luminance
    bool overrideColor = false; ///< all surfaces reflect in `color`
    float color[3] = {0, 0, 0}; ///< linear red, green, blue
};

/// The light that surfaces reflect, bounce by bounce. One object serves all runs; clear() separates them.
///
/// A surface reflects what its vertices received, times its albedo: their direct light and the indirect light of the
/// previous bounce, interpolated over the triangle. All vertices of a bounce read one snapshot, so the order in which
/// geometry is gathered does not matter. Only the side of a surface to which its normals point reflects: nothing is
/// known of the light on its back. Direct light that is in no channel is traced at the first hit and kept for the run,
/// but not stored.
class ktBounceLight {
public:
    ktBounceSettings settings;

    /// Clears everything except the settings. Call when a run begins or ends.
    void clear();
    /// Marks the channels of this geometry's direct light as results of this run, even if all values are zero.
    void markCalculated(const ktTracedGeometry& traced);
    /// Sets how to trace direct light that is in no channel. What the task refers to must outlive the gathering.
    void setDirect(const ktOcclusionTask& task, bool isValid);
    /// That task; null if there is none.
    const ktOcclusionTask* directTask() const { return hasDirect ? &reflected.direct : nullptr; }
    /// Ends the current bounce: the next takeSnapshot() includes what it gathered.
    void endBounce() { hasSnapshot = false; }

    /// Takes the snapshot for this bounce unless there is one. Main thread, before light() is read.
    void takeSnapshot(const ktTracedScene& scene, ktEventPump& pump);
    /// The snapshot. Stays at its place.
    const ktReflectedLight& light() const { return reflected; }

    /// Sets what the vertices of a geometry received in this bounce: three floats per vertex, not yet multiplied by the
    /// surface colour. Replaces earlier values. Main thread.
    void setGathered(ktGeometryNumber geometry, std::vector<float> received);
    /// Returns these values; null if nothing was gathered for the geometry in this run.
    const std::vector<float>* gathered(ktGeometryNumber geometry) const;

private:
    using Lazy = ktReflectedLight::Lazy;
    using Surface = ktReflectedLight::Surface;

    void setAlbedo(const ktTracedGeometry& traced, Surface& surface);
    void prepareLazy(const ktTracedGeometry& traced);
    Surface makeSurface(const ktTracedGeometry& traced, ktEventPump& pump);
    void readReceived(const ktTracedGeometry& traced, std::vector<float>& received, ktEventPump& pump) const;
    bool hasResult(const ktTracedGeometry& traced) const;

    std::map<ktGeometryNumber, osg::GeometryRefPtr> calculated;
    std::map<ktGeometryNumber, std::vector<float>> gatheredLight;
    std::map<ktGeometryNumber, std::vector<float>> receivedLight; ///< the snapshot
    std::map<ktGeometryNumber, std::unique_ptr<Lazy>> lazies;
    /// Key: geometry, and id of the material's field container.
    std::map<std::pair<ktGeometryNumber, std::uint32_t>, std::shared_ptr<const ktSurfaceColors>> colorsOf;
    std::map<const std::vector<std::uint32_t>*, ktLitSide> litSides; ///< key: triangles, which instances share
    ktReflectedLight reflected;
    bool hasDirect = false;
    bool hasSnapshot = false;
};
