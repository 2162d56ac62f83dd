// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHashMap.h"
#include "ktRefinedMeshes.h"
#include "ktRefinementProbes.h"
#include "ktRefinementProgress.h"

#include <memory>
#include <set>
#include <unordered_set>
#include <vector>

/// Meshes that are refined together, where light changes between vertices.
///
/// Each round traces probes at the midpoints of edges and inside faces, in the triangles that the previous round made.
/// It splits edges where light changes. The first round probes a grid of points in every triangle. The parts of a split
/// triangle inherit these samples, so later rounds probe only faces without a sample. Call on one worker thread;
/// tracing uses all worker threads.
class ktRefinementGroup : public ktRefinedMeshes {
public:
    /// See ktRefinedMeshes. @throws ktCanceled, std::exception
    ktRefinementGroup(std::vector<std::unique_ptr<ktRefinementMesh>>& meshes, const ktTracedScene& scene,
                      const std::set<ktGeometryNumber>& inside, const ktRefinementTasks& tasks);

    /// Runs all rounds. @throws ktCanceled, std::exception
    void refine(ktRefinementProgress& progress);
    /// Rays that refine() traced.
    ktRayCounts rays() const;

private:
    /// Light at a point inside a triangle, given by the weights of its corners.
    struct Sample {
        std::array<float, 3> weights;
        ktIllumination light;
    };
    /// A triangle that is tested in this round.
    struct Candidate {
        Index triangle;
        bool isOpen[3]; ///< by corner: the edge that begins there may be split
    };
    struct FaceProbe {
        Index triangle;
        std::array<float, 3> weights;
        std::size_t number;
    };
    struct EdgeProbe {
        Index triangle;
        Edge ends; ///< two vertices
        std::size_t number;
    };

    void chooseEdges();
    template <class Things, class Action>
    void forEach(const Things& things, Action&& action);
    void addCandidate(Index triangle);
    void addGridProbes(Index triangle);
    void addEdgeProbes(const Candidate& candidate);
    void addFaceProbe(Index triangle, float a, float b, float c);
    void traceProbes();
    void testFace(const Candidate& candidate);
    void testEdges(const Candidate& candidate);
    bool hasEdgeToSplit(Index triangle) const;
    std::vector<Edge> sortedEdgesToSplit() const;
    void splitEdges();
    void distributeSamples();
    void traceNewVertices();

    ktRefinementProbes& probesOf(Index triangle) { return meshOf(triangle).request().indirect ? *indirect : *direct; }
    const ktIllumination& lightAt(Index vertex) const {
        return meshes[refiner.vertices()[vertex].mesh]->illumination(localIndex[vertex]);
    }

    const ktRefinementTasks& tasks;
    std::unique_ptr<ktRefinementProbes> direct, indirect; ///< for requests that compare this light
    double spacing;                                       ///< between grid points of the first round
    int round = 0;
    std::vector<Index> active;                ///< triangles that are new in this round
    std::vector<std::vector<Sample>> samples; ///< by triangle
    std::vector<bool> isSmooth;               ///< by triangle: no edge needs a split
    ktHashMap<ktIllumination> midpointLight;  ///< key: the two vertices of the edge

    // Of the current round.
    std::vector<Candidate> candidates;
    std::vector<FaceProbe> faceProbes;
    std::vector<EdgeProbe> edgeProbes;
    std::unordered_set<Edge> edgesToSplit;
};
