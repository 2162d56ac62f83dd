// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktBounceLight.h"
#include "ktEventPump.h"
#include "ktGeoSubdivisionRecord.h"
#include "ktRayCounts.h"
#include "ktRefinementTasks.h"
#include "ktTracedScene.h"

#include <functional>
#include <memory>
#include <vector>

/// What a refinement added, and the rays that it traced.
struct ktRefinementCounts {
    std::uint64_t newVertices = 0;
    ktRayCounts rays;            ///< at probes, at points of faces and at new vertices
    std::uint64_t fitPoints = 0; ///< points on faces that were traced to fit vertex values to them
};

/// The pending refinements of a run. They are done together, so that geometries with shared edges stay without cracks.
///
/// With a fit, triangles are bisected where the interpolation of the fitted values is off from the light on the surface
/// (ktFittedRefinement). Without, an edge longer than the minimum is split if light differs by more than the threshold
/// between its ends. It is also
/// split if light at its midpoint, or inside a face beside it, differs by more than that from the interpolated light.
/// Edges that geometry outside the group shares are never split. Docs/inside/refinement.md explains this. Main thread
/// only.
class ktRefinement {
public:
    /// Largest number of new vertices of one run. There refinement stops with a warning.
    static constexpr std::size_t vertexLimit = 8'000'000;

    ~ktRefinement() { clear(); }

    /// Adds a record to the list. A record that is destroyed removes itself.
    void add(ktGeoSubdivisionRecord& record);
    bool isEmpty() const { return records.empty(); }
    /// Removes all records from the list. The records stay unchanged.
    void clear();

    /// Fills the records. A record stays unchanged if its geometry cannot be refined, or has several instances in the
    /// scene.
    /// @param tintOf   returns three floats that gathered light of a geometry is multiplied by
    /// @param bounces  receives the light that new vertices gathered
    /// @return the new vertices and the rays traced
    /// @throws ktCanceled, std::exception; no record is then filled
    ktRefinementCounts run(const ktTracedScene& scene, const ktRefinementTasks& tasks, ktBounceLight& bounces,
                           const std::function<const float*(ktGeometryNumber)>& tintOf, ktEventPump& pump);

private:
    std::vector<ktGeoSubdivisionRecord*> records;
};
