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

/// What a refinement added and traced.
struct ktRefinementCounts {
    std::uint64_t newVertices = 0;
    ktRayCounts rays; ///< at the points where it looked and at new vertices
};

/// The refinements that are pending in a run, worked out together so that geometry refined in the same run fits.
///
/// An edge longer than its minimum is halved when light varies by more than the threshold between its ends, or between
/// what is seen at its middle, or at points inside the faces beside it, and what interpolation would give there. Edges
/// that geometry outside the group shares are never halved. Docs/inside/refinement.md tells how and why. Main thread
/// only.
class ktRefinement {
public:
    /// New vertices of one run; beyond them refinement stops with a warning.
    static constexpr std::size_t vertexLimit = 8'000'000;

    ~ktRefinement() { clear(); }

    /// Puts a record on the list; it takes itself off when it is destroyed.
    void add(ktGeoSubdivisionRecord& record);
    bool isEmpty() const { return records.empty(); }
    /// Takes all records off the list; they stay as they are.
    void clear();

    /// Fills the records. Geometry that cannot be refined, or whose core is used more than once in the scene, keeps its
    /// record as it is.
    /// @param tintOf   three floats that gathered light of a geometry is multiplied by
    /// @param bounces  gets the light that new vertices gathered
    /// @return what it cost
    /// @throws ktCanceled, std::exception; no record is then filled
    ktRefinementCounts run(const ktTracedScene& scene, const ktRefinementTasks& how, ktBounceLight& bounces,
                           const std::function<const float*(ktGeometryNumber)>& tintOf, ktEventPump& pump);

private:
    std::vector<ktGeoSubdivisionRecord*> records;
};
