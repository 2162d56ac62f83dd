// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktOcclusionPass.h"
#include "ktSurfaceColors.h"
#include "ktTracedScene.h"

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

/// How light leaves a surface that it fell on.
struct ktBounceSettings {
    bool colorBleeding = false; ///< light takes the surface's colour; else its luminance
    bool overrideColor = false; ///< every surface has `color`
    float color[3] = {0, 0, 0}; ///< linear red, green, blue
};

/// The light that surfaces send on, bounce by bounce. Lives as long as a run of the calculation.
///
/// A surface sends on, times its albedo, what its vertices received: their direct light and the indirect light of the
/// bounce before, interpolated over the triangle. All vertices of a bounce read one snapshot, so the order in which
/// geometry is gathered does not matter. Direct light that no channel holds is traced at the first hit, kept for the
/// run and stored nowhere.
class ktBounceLight {
public:
    ktBounceSettings settings;

    /// Forgets everything but the settings: a run begins or ends.
    void clear();
    /// Tells that the channels of this geometry's direct light belong to this run, whatever they hold.
    void markCalculated(const ktTracedGeometry& traced);
    /// How direct light is traced that no channel holds. What the task refers to must live as long as gathering does.
    void setDirect(const ktOcclusionTask& task, bool isValid);
    /// That task; null when there is none.
    const ktOcclusionTask* directTask() const { return hasDirect ? &direct : nullptr; }
    /// The bounce under way is over: the next takeSnapshot() takes what it gathered.
    void endBounce() { hasSnapshot = false; }

    /// Makes sure that there is a snapshot for this bounce; main thread, before addRadiance().
    void takeSnapshot(const ktTracedScene& scene, ktEventPump& pump);
    /// Adds the light, linear red, green, blue, that leaves the surfaces where rays met them. Any thread.
    /// @param hits  as a tracer reports them
    /// @param lanes bit i: ray i counts
    /// @param sum   three floats; the light is added ray by ray, in ascending order
    /// @throws ktCanceled
    void addRadiance(const ktHitPacket& hits, std::uint32_t lanes, float* sum) const;

    /// What a geometry's vertices received in the bounce under way, three floats a vertex, before the surface's own
    /// colour tints it. Replaces what was there. Main thread.
    void setGathered(ktGeometryNumber geometry, std::vector<float> received);
    /// The same for reading; null when nothing was gathered for it in this run.
    const std::vector<float>* gathered(ktGeometryNumber geometry) const;

private:
    /// Direct light traced at need, vertex by vertex.
    struct Lazy {
        ktWorldTransform toWorld;
        const float* positions = nullptr;
        const float* normals = nullptr; ///< null: nothing can be traced
        std::vector<float> light;       ///< three floats a vertex, valid where `isTraced`
        std::unique_ptr<std::atomic<bool>[]> isTraced;
    };
    struct Surface {
        const ktTracedGeometry* traced = nullptr;
        const std::vector<float>* received = nullptr;  ///< three floats a vertex; null: dark
        Lazy* lazy = nullptr;                          ///< adds to `received`
        std::shared_ptr<const ktSurfaceColors> colors; ///< null: `albedo` everywhere
        float albedo[3] = {1, 1, 1};
    };

    void setAlbedo(const ktTracedGeometry& traced, Surface& surface);
    void prepareLazy(const ktTracedGeometry& traced);
    Surface makeSurface(const ktTracedGeometry& traced);
    void radiance(const Surface& surface, std::uint32_t triangle, float u, float v, float* color) const;
    void readReceived(const ktTracedGeometry& traced, std::vector<float>& received, ktEventPump& pump) const;
    bool hasResult(const ktTracedGeometry& traced) const;
    void addLazy(Lazy& lazy, std::uint32_t vertex, float weight, float* light) const;

    std::map<ktGeometryNumber, osg::GeometryRefPtr> calculated;
    std::map<ktGeometryNumber, std::vector<float>> gatheredLight;
    std::map<ktGeometryNumber, std::vector<float>> receivedLight; ///< the snapshot
    std::map<ktGeometryNumber, std::unique_ptr<Lazy>> lazies;
    /// By geometry and by the material's container.
    std::map<std::pair<ktGeometryNumber, std::uint32_t>, std::shared_ptr<const ktSurfaceColors>> colorsOf;
    std::vector<Surface> surfaces; ///< by the tracer's mesh
    ktOcclusionTask direct;
    bool hasDirect = false;
    bool usesLightColor = false; ///< direct light is the lights' colour, not the share w
    bool hasSnapshot = false;
    std::unique_ptr<std::mutex> lazyLock = std::make_unique<std::mutex>(); ///< for writing
};
