// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktConformingRefiner.h"
#include "ktHashMap.h"
#include "ktRefinementMesh.h"
#include "ktRefinementProbes.h"
#include "ktTracedScene.h"

#include <atomic>
#include <memory>
#include <set>
#include <unordered_set>
#include <vector>

/// How far a refinement has come, for another thread to read.
struct ktRefinementProgress {
    std::atomic<int> round{0}, rounds{0};
    std::atomic<std::size_t> newVertices{0};
};

/// Meshes that are refined together.
///
/// In each round light is looked at in the middles of the edges and inside the triangles that the round before made; an
/// edge is halved where light varies across it. The first round looks at a grid of points in every triangle; what it
/// saw goes on to the parts that the triangle is cut into, so that later rounds look only into parts too small to hold
/// such a point. For one worker thread; tracing inside uses all.
class ktRefinementGroup {
public:
    /// @param meshes in an order that does not depend on the scene's
    /// @param inside what the meshes were made of: edges that other geometry of the scene shares stay whole
    /// @throws ktCanceled, std::exception
    ktRefinementGroup(std::vector<std::unique_ptr<ktRefinementMesh>>& meshes, const ktTracedScene& scene,
                      const std::set<ktGeometryNumber>& inside, const ktRefinementTasks& tasks);

    /// All rounds. @throws ktCanceled, std::exception
    void refine(ktRefinementProgress& progress);
    /// Triangles of each mesh, by its own vertices; those without area are left out.
    std::vector<std::vector<std::uint32_t>> triangles() const;
    /// Rays that refine() traced.
    ktRayCounts rays() const;
    std::size_t newVertexCount() const { return refiner.vertices().size() - refiner.originalVertexCount(); }

private:
    using Index = ktConformingRefiner::Index;
    using Edge = ktConformingRefiner::Edge;

    /// What was seen inside a triangle, at the mean of its corners by weights.
    struct Sample {
        std::array<float, 3> weights;
        ktIllumination light;
    };
    /// A triangle that is judged in this round.
    struct Candidate {
        Index triangle;
        bool isOpen[3]; ///< by corner: the edge from there may be split
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

    void lockSharedEdges(const ktTracedScene& scene, const std::set<ktGeometryNumber>& inside);
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
    void addNewVertices();

    bool canSplit(Edge edge, const ktRefinementRequest& request) const;
    ktRefinementMesh& meshOf(Index triangle) const { return *meshes[refiner.triangles()[triangle].mesh]; }
    ktRefinementProbes& probesOf(Index triangle) { return meshOf(triangle).request().indirect ? *indirect : *direct; }
    const ktIllumination& lightAt(Index vertex) const {
        return meshes[refiner.vertices()[vertex].mesh]->illumination(localIndex[vertex]);
    }

    std::vector<std::unique_ptr<ktRefinementMesh>>& meshes;
    const ktRefinementTasks& tasks;
    ktConformingRefiner refiner;
    std::unique_ptr<ktRefinementProbes> direct, indirect; ///< by what requests look at
    double spacing;                                       ///< between points inside a face, in the first round
    int round = 0;
    std::vector<Index> localIndex;            ///< the refiner's vertices in their own mesh
    std::vector<Index> active;                ///< triangles that are new in this round
    std::vector<std::vector<Sample>> samples; ///< by triangle
    std::vector<bool> isSmooth;               ///< by triangle: nothing to split was found in it
    ktHashMap<ktIllumination> midpointLight;  ///< what was seen there, by two vertices

    // Of the round under way.
    std::vector<Candidate> candidates;
    std::vector<FaceProbe> faceProbes;
    std::vector<EdgeProbe> edgeProbes;
    std::unordered_set<Edge> edgesToSplit;
};
