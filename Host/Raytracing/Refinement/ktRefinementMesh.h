// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktBounceLight.h"
#include "ktConformingRefiner.h"
#include "ktGeoSubdivisionRecord.h"
#include "ktRefinementProbes.h"

#include <array>
#include <cstdint>
#include <vector>

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
    void makeOneRings() { oneRings = ktMakeOneRings(positions.data(), vertexCount(), indices); }

    /// Light at a vertex of the mesh; valid for old vertices and those that traceNewVertices() has traced.
    const ktIllumination& illumination(Index vertex) const { return light[vertex]; }

    /// A point inside a triangle, given by weights of its three vertices.
    ktSurfacePoint worldPoint(const Index* vertices, const float* weights) const {
        return toWorldSpace(interpolate(vertices, weights));
    }
    /// The middle between two vertices.
    ktSurfacePoint worldMidpoint(Index a, Index b) const { return toWorldSpace(midpoint(a, b)); }

    /// Appends a vertex between two others.
    void addVertex(Index a, Index b);
    /// Traces vertices that were added since the last call; worker thread. @throws ktCanceled, std::bad_alloc
    void traceNewVertices(const ktRefinementTasks& tasks);

    /// Rays of all new vertices.
    const ktRayCounts& rays() const { return rayCounts; }

    /// Fills the record, which is not ready yet; worker thread.
    /// @param newTriangles three of the mesh's own vertices each
    void finish(std::vector<std::uint32_t> newTriangles);
    /// Makes the record ready, and tells `bounces` the light that all vertices received; main thread, after finish().
    void publish(ktBounceLight& bounces);

    /// An order of meshes by what they are in the world alone.
    bool comesBefore(const ktRefinementMesh& other) const;

private:
    /// All that is known of one traced point.
    struct Traced {
        osg::Vec4f direct = osg::Vec4f(0, 0, 0, 0); ///< as the direct pass leaves it
        float received[3] = {0, 0, 0};              ///< indirect light before the tint
    };

    // These in object space, the last one in world space.
    ktSurfacePoint midpoint(Index a, Index b) const;
    ktSurfacePoint interpolate(const Index* vertices, const float* weights) const;
    ktSurfacePoint toWorldSpace(const ktSurfacePoint& point) const;
    ktIllumination measure(const Traced& traced) const;

    ktGeoSubdivisionRecord& record;
    ktWorldTransform toWorld;
    float tint[3];
    bool usable = false;
    Index originalCount = 0;
    std::vector<float> positions, normals; ///< object space, three floats a vertex
    std::vector<std::uint32_t> indices;    ///< of the geometry as it is
    std::vector<ktOneRing> oneRings;       ///< where the surface around each vertex lies
    std::vector<float> originalReceived;   ///< indirect light of the old vertices
    std::vector<float> received;           ///< of all vertices, at the end
    std::vector<ktIllumination> light;
    std::vector<std::array<Index, 2>> parents; ///< of the new vertices
    ktRayCounts rayCounts;
    std::vector<Traced> tracedVertices; ///< the new vertices'
};
