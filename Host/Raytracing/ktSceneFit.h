// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktFittedPass.h"
#include "ktGeoSubdivisionRecord.h"
#include "ktSampler.h"
#include "ktTracedScene.h"

#include <cstdint>
#include <map>
#include <memory>
#include <vector>

/// Prepares the fit of the geometries of a run: their triangles, the directions of the points, and how many points each
/// gets. Main thread, except where noted.
///
/// A run traces about as many rays as without the fit. A point has 0.4 times the rays of a vertex. Where faces are not
/// fine (ktFitMesh), there are about 2.25 points per vertex: one on each face, the others by area. Small scenes get
/// more.
class ktSceneFit {
public:
    /// Measures a scene whose meshes are made. Worker thread. @throws ktCanceled
    void setScene(const ktTracedScene& newScene);
    /// Forgets the scene.
    void clear();
    /// Whether the results of the run are fitted: whether there is a scene.
    bool isOn() const { return scene != nullptr; }

    /// Prepares the fit of one geometry. The result is valid until the next call. What the pass traces is kept for
    /// takeSamples().
    /// @param geometry   null gives null
    /// @param vertexTask its vertices
    /// @return null if the geometry has no triangles: then there is nothing to fit
    const ktFitTask* prepare(const osg::GeometryPtr& geometry, const ktVertexTask& vertexTask);

    /// What the pass has traced for the geometry that was prepared last. Call once.
    std::shared_ptr<const ktPassSamples> takeSamples(const ktVertexTask& vertexTask, bool indirect);

    /// How to fit any geometry of the scene; all but its triangles. Valid as long as this object and the tracer.
    ktFitTask settings(const ktVertexTask& vertexTask);

private:
    const ktPreparedDirections* directions(std::uint32_t perAxis, const ktTracer& tracer);

    const ktTracedScene* scene = nullptr;
    double density = 0;                                           // points per world unit squared
    std::size_t mostPoints = 0;                                   // of a geometry
    std::map<std::uint32_t, std::unique_ptr<ktSampler>> samplers; // by rays per axis
    std::shared_ptr<const std::vector<std::uint32_t>> triangles;  // of the prepared geometry
    ktFitSamples samples{0, 0};                                   // of the prepared geometry
    ktFitTask task;
};
