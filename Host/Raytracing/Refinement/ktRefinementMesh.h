// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktBounceLight.h"
#include "ktConformingRefiner.h"
#include "ktGeoSubdivisionRecord.h"
#include "ktRefinementProbes.h"

#include <array>
#include <cstdint>
#include <vector>

/// A geometry during refinement: attributes of its original and new vertices, and the light that they receive.
class ktRefinementMesh {
public:
    using Index = ktConformingRefiner::Index;

    /// Reads the geometry; main thread. Check isUsable() afterwards.
    /// @param tint factor of gathered light when it is stored: red, green, blue
    ktRefinementMesh(ktGeoSubdivisionRecord& record, const ktBounceLight& bounces, const float* tint);

    /// False if the geometry cannot be refined: its vertices have several indices, or it has lines, points or bad
    /// triangles, or it has no normals or no results.
    bool isUsable() const { return usable; }
    Index vertexCount() const { return static_cast<Index>(positions.size() / 3); }
    std::vector<ktConformingRefiner::Point> worldPositions() const;
    const std::vector<std::uint32_t>& triangles() const { return indices; }
    /// Triangles of the geometry, also those that refinement leaves out.
    std::size_t storedTriangleCount() const { return storedTriangles; }
    const ktRefinementRequest& request() const { return record.request; }

    /// Makes the one-rings of all vertices. Worker thread, before the first probe.
    void makeOneRings() { oneRings = ktMakeOneRings(positions.data(), vertexCount(), indices); }

    /// Light at a vertex; valid for original vertices and those that traceNewVertices() has traced.
    const ktIllumination& illumination(Index vertex) const { return light[vertex]; }

    /// A point inside a triangle, given by the weights of its three vertices.
    ktSurfacePoint worldPoint(const Index* vertices, const float* weights) const {
        return toWorldSpace(interpolate(vertices, weights));
    }
    /// The midpoint of two vertices.
    ktSurfacePoint worldMidpoint(Index a, Index b) const { return toWorldSpace(pointOn({a, b, 0.5f})); }

    /// Appends a vertex between two others.
    void addVertex(const ktSplitEdge& edge);
    /// Removes new vertices. The others keep their order.
    /// @param isKept by vertex; the ends of the edge of a kept one are kept; true for original vertices
    void keepVertices(const std::vector<bool>& isKept);
    /// Traces the vertices added since the last call. Worker thread. @throws ktCanceled, std::bad_alloc
    void traceNewVertices(const ktRefinementTasks& tasks);

    /// Prepares for values that the caller fits: from now on, all vertices have some. Those of new vertices are
    /// interpolated between their parents.
    void startFit();
    /// The values of a vertex: x, y, z, w as in ktTraceOcclusion(), or what it received, three floats, if the request
    /// is for indirect light. After startFit().
    float* fitted(Index vertex) {
        return record.request.indirect ? fittedVertices[vertex].received : fittedVertices[vertex].direct.getValues();
    }
    /// What the last pass traced for this geometry; null if nothing is known.
    const ktPassSamples* passSamples() const { return record.passSamples.get(); }
    /// The vertices, as those of a pass. Valid until the next addVertex().
    ktVertexTask vertexTask() const {
        ktVertexTask task;
        task.setVertices(toWorld, vertexCount(), positions.data(), normals.data(), nullptr);
        return task;
    }

    /// Rays of all new vertices.
    const ktRayCounts& rays() const { return rayCounts; }

    /// Fills the record, but does not mark it as ready. Worker thread.
    /// @param newTriangles three vertices of the mesh each
    void finish(std::vector<std::uint32_t> newTriangles);
    /// Marks the record as ready and passes the light of all vertices to `bounces`. Main thread, after finish().
    void publish(ktBounceLight& bounces);

    /// An order of meshes that depends only on their shape in world space.
    bool comesBefore(const ktRefinementMesh& other) const;

private:
    /// The light at one traced point.
    struct Traced {
        osg::Vec4f direct = osg::Vec4f(0, 0, 0, 0); ///< from the direct pass
        float received[3] = {0, 0, 0};              ///< indirect light, not multiplied by the tint
    };

    // pointOn() and interpolate() give object space.
    ktSurfacePoint pointOn(const ktSplitEdge& edge) const;
    ktSurfacePoint interpolate(const Index* vertices, const float* weights) const;
    ktSurfacePoint toWorldSpace(const ktSurfacePoint& point) const;
    void setResults(std::size_t first, std::size_t last, const Traced* traced, std::vector<osg::Vec4f>& results,
                    std::vector<osg::Vec4f>& baked) const;
    ktIllumination measure(const Traced& traced) const;

    ktGeoSubdivisionRecord& record;
    ktWorldTransform toWorld;
    float tint[3];
    bool usable = false;
    Index originalCount = 0;
    std::size_t storedTriangles = 0;
    std::vector<float> positions, normals; ///< object space, three floats per vertex
    std::vector<std::uint32_t> indices;    ///< of the original geometry
    std::vector<ktOneRing> oneRings;       ///< of all vertices
    std::vector<float> originalReceived;   ///< indirect light of the original vertices
    std::vector<float> received;           ///< indirect light of all vertices; set by finish()
    std::vector<ktIllumination> light;
    ktSplitEdges parents; ///< of the new vertices
    ktRayCounts rayCounts;
    std::vector<Traced> tracedVertices; ///< the new vertices
    std::vector<Traced> fittedVertices; ///< all vertices; empty without startFit()
};
