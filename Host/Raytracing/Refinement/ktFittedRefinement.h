// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktContactLines.h"
#include "ktFitMesh.h"
#include "ktFitPoints.h"
#include "ktRefinedMeshes.h"
#include "ktRefinementProgress.h"
#include "ktSurfaceSamples.h"

#include <cstdint>
#include <memory>
#include <set>
#include <vector>

/// Meshes that are refined together, where the interpolation of fitted values is off from the light on the surface.
///
/// Light is known at points on the faces. Each round fits the values of the vertices to it, measures how far the
/// interpolation is off at the points, and bisects the triangles with the largest squared error, by area. The variance
/// of the noise is subtracted, so that it adds no vertices. A triangle is only bisected if a point in it is off by more
/// than the threshold of its mesh. Points stay valid when their triangle is cut; small parts get new ones. Call on one
/// worker thread; it uses all.
class ktFittedRefinement : public ktRefinedMeshes {
public:
    /// See ktRefinedMeshes.
    /// @param most   triangles of all meshes together; refinement stops there. 0: no limit
    /// @throws ktCanceled, std::exception
    ktFittedRefinement(std::vector<std::unique_ptr<ktRefinementMesh>>& meshes, const ktTracedScene& scene,
                       const std::set<ktGeometryNumber>& inside, const ktRefinementTasks& tasks, std::size_t most);

    /// Runs all rounds. The meshes then have the values of all vertices. @throws ktCanceled, std::exception
    void refine(ktRefinementProgress& progress);
    const ktRayCounts& rays() const { return traced; }
    std::uint64_t pointCount() const { return pointTotal; }

private:
    /// A point where light is to be traced.
    struct NewPoint {
        Index triangle;
        std::array<float, 3> weights;
    };
    /// A triangle that may be bisected.
    struct Candidate {
        float error;
        Index triangle;
        std::uint32_t version; ///< of the triangle; another one if it has been bisected meanwhile
        bool operator<(const Candidate& other) const {
            return error != other.error ? error < other.error : triangle > other.triangle;
        }
    };
    /// A split that may be taken back.
    struct Merge {
        std::size_t split;
        std::size_t saved; ///< triangles
        double cost;       ///< squared error, times the area, that it adds
        double noise;      ///< the part of the squared error that may be noise
        bool isSmall;      ///< no difference would be above the threshold, or more than now
    };
    void takePassSamples();
    bool isEven(ktRefinementMesh& mesh, const std::uint32_t* vertices) const;
    void addPoints();
    void traceNewPoints(bool indirect);
    template <class Task>
    void tracePoints(Task task, const ktFitTask& fit, const NewPoint* asked, std::size_t count, std::uint64_t& rays);
    void fit();
    void fitMesh(ktRefinementMesh& mesh, const std::vector<Index>& parts);
    void measureErrors(ktRefinementMesh& mesh, const std::vector<Index>& parts, const ktFitMesh& shape,
                       const ktFitPoints& points);
    bool isOff(Index triangle) const;
    bool mayBisect(Index triangle) const;
    bool bisectWorst(ktRefinementProgress& progress);
    bool isLightCut(Index triangle, const double* sides) const;
    bool cutAlongContact(Index triangle);
    float mergedError(const ktConformingRefiner::Bisection& bisection, float& greatest) const;
    Merge evaluateMerge(std::size_t split) const;
    void merge(const Merge& merge);
    std::vector<float> expectedGains() const;
    bool mergeUnneeded();
    void takeBisection(const ktConformingRefiner::Bisection& bisection);
    std::size_t channelsOf(bool indirect) const;
    float* valuesOf(ktRefinementMesh& mesh, Index vertex) const;
    std::size_t triangleCount() const { return refiner.triangles().size() - collapsedCount; }

    const ktRefinementTasks& tasks;
    const std::size_t most;
    std::vector<Index> firstTriangle; ///< by mesh
    std::size_t collapsedCount = 0;
    const ktTracedScene& scene;
    std::unique_ptr<ktContactLines> contacts; ///< made when first needed
    float noise[2];                           ///< variance of direct and of indirect light at a point
    ktSurfaceSamples samples;

    // By triangle.
    std::vector<float> error;           ///< squared, times the area
    std::vector<float> area;            ///< world units, squared; set by a fit
    std::vector<float> difference;      ///< the largest of its samples, less noise
    std::vector<double> fittedError;    ///< of its parts in the last fit
    std::vector<std::uint8_t> depth;    ///< bisections since the original, cuts left out
    std::vector<std::uint32_t> version; ///< bisections, cuts and merges
    std::vector<std::uint8_t> isFree;   ///< no other surface meets it
    std::vector<std::uint8_t> wanted;   ///< fewest samples

    std::vector<Index> fresh;              ///< triangles that may lack samples
    std::vector<std::uint8_t> isMeshFresh; ///< by mesh: needs a fit
    std::vector<NewPoint> newPoints;
    ktRayCounts traced;
    std::uint64_t pointTotal = 0;
};
