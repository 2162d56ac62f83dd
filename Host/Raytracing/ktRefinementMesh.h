// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktBounceLight.h"
#include "ktConformingRefiner.h"
#include "ktGatherPass.h"
#include "ktGeoSubdivisionRecord.h"
#include "ktOcclusionPass.h"

#include <array>
#include <cstdint>
#include <unordered_map>
#include <vector>

/// How light at new points is traced: as the passes of the run trace it.
struct ktRefinementLight {
    const ktOcclusionTask* direct = nullptr; ///< not null
    const ktGatherTask* gather = nullptr;    ///< null: no indirect light yet
};

/// What refinement compares: the share of direct light, or how bright indirect light is, and the lights' own brightness.
using ktIllumination = std::array<float, 2>;

/// A geometry under refinement: attributes of its vertices, old and new, and the light they receive.
class ktRefinementMesh {
public:
    using Index = ktConformingRefiner::Index;

    /// Reads the geometry; main thread. Check isUsable() afterwards.
    /// @param tint what gathered light is multiplied by before it is stored
    ktRefinementMesh(ktGeoSubdivisionRecord& record, const ktBounceLight& bounces, const float* tint);

    /// False when the geometry's form cannot be refined: attributes of several indices, lines or points among its
    /// primitives, broken triangles, no normals or no results.
    bool isUsable() const { return usable; }
    Index vertexCount() const { return static_cast<Index>(positions.size() / 3); }
    std::vector<ktConformingRefiner::Point> worldPositions() const;
    const std::vector<std::uint32_t>& triangles() const { return indices; }
    const ktRefinementRequest& request() const { return record.request; }

    /// Finds out where the surface around each vertex lies; worker thread, before anything is ordered.
    void lookAround() { inward = ktInwardDirections(positions.data(), vertexCount(), indices); }

    /// Light at a vertex of the mesh; valid for old vertices and those that finishVertices() has traced.
    const ktIllumination& illumination(Index vertex) const { return light[vertex]; }

    /// Orders a trace at a point inside a triangle, given by weights of its three vertices. @return the order's number
    std::size_t addProbe(const Index* vertices, const float* weights);
    /// Orders a trace in the middle of an edge; the same edge has one order, and keeps what was traced.
    std::size_t addMiddleProbe(Index a, Index b);
    /// Traces the orders given since the last call; worker thread. @throws ktCanceled, std::bad_alloc
    void traceProbes(const ktRefinementLight& how);
    const ktIllumination& probe(std::size_t order) const { return probeLight[order]; }

    /// Appends a vertex between two others.
    void addVertex(Index a, Index b);
    /// Traces new vertices that no probe has traced; worker thread. Forgets all probes.
    void finishVertices(const ktRefinementLight& how);

    /// Hands the new vertices and triangles to the record, and to `gathered` the light that all vertices received.
    /// @param newTriangles three of the mesh's own vertices each
    void finish(std::vector<std::uint32_t> newTriangles, std::vector<float>& gathered);

private:
    struct Point {
        float position[3], normal[3];
        ktInward inward;
    };
    /// All that is known of one traced point.
    struct Traced {
        osg::Vec4f direct = osg::Vec4f(0, 0, 0, 0); ///< as the direct pass leaves it
        float received[3] = {0, 0, 0};              ///< indirect light before the tint
    };

    Point middle(Index a, Index b) const;
    Point inside(const Index* vertices, const float* weights) const;
    std::vector<Traced> trace(const std::vector<Point>& points, const ktRefinementLight& how) const;
    ktIllumination measure(const Traced& traced) const;

    ktGeoSubdivisionRecord& record;
    ktWorldTransform toWorld;
    float tint[3];
    bool usable = false;
    Index oldCount = 0;
    std::vector<float> positions, normals; ///< object space, three floats a vertex
    std::vector<std::uint32_t> indices;    ///< of the geometry as it is
    std::vector<ktInward> inward;          ///< where the surface around each vertex lies
    std::vector<float> oldReceived;        ///< indirect light of the old vertices
    std::vector<ktIllumination> light;
    std::vector<std::array<Index, 2>> parents; ///< of the new vertices
    std::vector<Traced> tracedVertices;        ///< the new vertices'

    std::vector<Point> probePoints;
    std::vector<Traced> probeTraced;
    std::vector<ktIllumination> probeLight;
    std::unordered_map<std::uint64_t, std::size_t> middleProbes; ///< by two vertices
};
