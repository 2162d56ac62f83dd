// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktBounceLight.h"
#include "ktHostExport.h"
#include "ktPassAhead.h"
#include "ktRaytracingUtils.h"
#include "ktRefinement.h"
#include "ktSceneFit.h"
#include "ktTracedScene.h"
#include "ktTracer.h"
#include "ktTracingStatistics.h"
#include "ktWorkers.h"

#include <array>
#include <atomic>
#include <functional>
#include <map>
#include <memory>

/// The host's ray-tracing utilities: traces the scene with a ktTracer on all worker threads, while the main thread
/// keeps handling events.
///
/// When ktCancelToken is set, the current call ends soon and leaves its geometry unchanged. Later calls return
/// immediately. An error inside a call is logged in one line and sets the token, which cancels the run.
/// Memory: the occluders in world space (parts that are traced as instances once), the tracer's structure and, during a
/// call, about 40 bytes for each of its vertices. Rays need no memory.
class KT_HOST_EXPORT ktSceneRaytracing : public ktRaytracingUtils {
public:
    /// Uses the tracer of ktMakeTracer(), which is made when first needed.
    ktSceneRaytracing();
    /// Uses this tracer. @param tracer not null
    explicit ktSceneRaytracing(std::unique_ptr<ktTracer> tracer);
    ~ktSceneRaytracing() override;

    void buildAccelerationStructure(const std::vector<osg::NodePtr>& geometry,
                                    const std::vector<osg::NodePtr>& lights) override;
    void finishPass() override;
    void invalidateGeometry() override;
    void setMaterialOverride(bool colorBleeding, bool overrideMaterialColor, const float* materialColor) override;
    void restoreRaytracing(int raytracing) override;
    ktSampler* createSampler(int countU, int countV, int pattern, int lobe, float jitterU, float jitterV) override;
    void releaseSampler(ktSampler* sampler) override;
    void configureTracing(int sampleCountU, int sampleCountV, float minDistance, float maxDistance) override;
    void computeVertexOcclusion(osg::UInt32 count, const osg::Matrix* toWorld, const osg::Pnt3f* positions,
                                const osg::Vec3f* normals, osg::Vec4f* results, bool transform, ktSampler* sampler,
                                bool option, bool lightMode) override;
    void gatherVertexIllumination(osg::UInt32 count, const osg::Matrix* toWorld, const osg::Pnt3f* positions,
                                  const osg::Vec3f* normals, osg::Vec4f* results, const osg::Color3f* surfaceColor,
                                  bool transform, ktSampler* sampler, int bounceOption, bool lightMode) override;
    void subdivideByIllumination(const std::string* name, osg::Int32 quality, osg::Int32 samples,
                                 ktGeoSubdivisionList* record, osg::GeometryPtr geometry, osg::Real32 threshold,
                                 osg::Real32 minEdgeLength, const osg::Matrix* toWorld,
                                 const osg::Matrix* inverseToWorld, const osg::Matrix* normalMatrix,
                                 bool indirectEnabled, bool indirect, bool lightMode) override;

    /// Statistics of the current or last run.
    const ktTracingStatistics& getStatistics() const { return statistics; }

private:
    /// A geometry for which the plug-in will ask, where it asks first.
    struct PlannedUse {
        ktGeometryNumber geometry;
        ktWorldTransform toWorld;
    };

    const ktFitTask* fitOf(const osg::Pnt3f* positions, const ktVertexTask& task);
    void keepSamples(ktGeometryNumber geometry, const ktVertexTask& task, bool indirect);
    void countRays(ktGeometryNumber geometry, std::uint32_t vertices, const ktPassCounts& counts,
                   std::uint64_t ktRayCounts::*kind);
    ktVertexTask vertexTask(osg::UInt32 count, const osg::Matrix* toWorld, const osg::Pnt3f* positions,
                            const osg::Vec3f* normals, const ktSampler* sampler, bool bothSides);
    void call(const char* action, const std::function<void()>& body);
    ktTracer& ensureTracer();
    void makeStructure(const std::vector<osg::NodePtr>& geometry, const std::vector<osg::NodePtr>& lights);
    void waitForAbandonedBuild();
    void clearScene();
    void clearRun();
    template <class Task, class Result>
    ktPassCounts tracePass(ktGeometryNumber geometry, Task task, const ktFitTask* fit, Result* results,
                           std::atomic<std::uint32_t>& done) const;
    template <class Task>
    std::optional<ktGeometryResult> traceAhead(ktGeometryNumber geometry, const Task& task, const ktFitTask* fit);
    std::optional<ktGeometryResult> restore(const ktGeometryPass& pass, const ktTracedGeometry& traced,
                                            const ktVertexTask& task, const ktFitTask* fit) const;
    void endAhead();
    void planPass(ktRankPool& ranks);
    std::shared_ptr<ktRankJob> makeJob(const PlannedUse& use) const;
    void runOnWorkers(std::uint32_t count, const std::function<void(std::atomic<std::uint32_t>&)>& work,
                      const std::function<void()>& store);
    void reportUnusableVertices();

    std::unique_ptr<ktTracer> tracer;
    std::unique_ptr<ktWorkers> abandonedBuild; // of a cancelled run: still uses the tracer
    ktTracedScene scene;
    ktGeometryNumbers numbers; // of all geometry that calls may pass
    float minDistance = 0.0f, maxDistance = 0.0f;
    bool calling = false;
    bool hasStarted = false;            // whether the current run has reported its start
    std::uint64_t unusableVertices = 0; // since the last report
    ktBounceLight bounces;
    ktRefinement refinement;
    ktSceneFit sceneFit;
    std::shared_ptr<const ktPassSamples> passSamples; // of the last fitted geometry, until the next call
    ktGeometryNumber passGeometry = 0;                // that geometry
    std::size_t sceneTriangles = 0;                   // at the last build; each geometry counts once
    std::size_t firstSceneTriangles = 0;              // at the first build of the run
    ktGatherTask lastGather;                          // of the last gathered geometry; tracer is null before the first
    std::map<ktGeometryNumber, std::array<float, 3>> tints; // factors of gathered light
    ktTracingStatistics statistics;
    ktPassAhead ahead;
};
