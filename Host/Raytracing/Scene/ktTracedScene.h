// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktEventPump.h"
#include "ktGeometryNumbers.h"
#include "ktGeometryView.h"
#include "ktOneRing.h"
#include "ktSceneLight.h"
#include "ktTracer.h"
#include "ktWorldTransform.h"

#include <atomic>
#include <functional>
#include <memory>
#include <OpenSG/OSGNode.h>
#include <unordered_map>
#include <vector>

/// One occluding geometry node as the tracer sees it.
struct ktTracedGeometry {
    osg::NodePtr node;            ///< not referenced
    osg::GeometryRefPtr geometry; ///< its core
    ktGeometryNumber number = 0;  ///< of its core
    ktWorldTransform toWorld;
    /// Three indices of positions a triangle; triangle i is the tracer's triangle i. Shared by the uses of a core that
    /// are mirrored alike.
    std::shared_ptr<const std::vector<std::uint32_t>> triangles;
    std::shared_ptr<const std::vector<float>> positions; ///< world space, three floats a position and one spare
    std::uint64_t surfaceHash = 0;                       ///< see ktSceneOrder.h

    std::uint32_t positionCount() const { return static_cast<std::uint32_t>(positions->size() / 3); }
};

/// What rays are traced against: the occluders in world space and the lights. Copies what it needs of the scene graph,
/// so that later changes of the scene do not reach it until the next build.
class ktTracedScene {
public:
    /// In the order in which they were collected.
    std::vector<ktTracedGeometry> geometries;
    /// The tracer's meshes, as indices of `geometries`: an order that does not depend on that of the nodes.
    std::vector<std::size_t> meshes;
    std::vector<ktSceneLight> lights;
    float diagonal = 0.0f;          ///< of the occluders' bounds, world units
    std::uint64_t badTriangles = 0; ///< left out: bad indices or positions
    std::size_t firstBad = 0;       ///< the first of `geometries` that had such triangles

    /// Takes stock of the nodes on the main thread; null nodes and nodes without geometry are left out.
    void collect(const std::vector<osg::NodePtr>& geometryNodes, const std::vector<osg::NodePtr>& lightNodes,
                 ktEventPump& pump);
    /// Makes the meshes, on the threads of the calling thread's arena; not on the main thread, after collect(). @throws
    /// ktCanceled, std::exception
    void makeMeshes();
    /// What the tracer builds its structure from, after makeMeshes(): a piece of work that touches nothing but the
    /// tracer and keeps the meshes' arrays alive by itself, even when this scene is gone. Throws ktCanceled,
    /// std::exception.
    /// @param isAbandoned set when nobody waits for it any more: it then ends, even if the cancel token has been reset
    std::function<void()> makeBuildJob(ktTracer& tracer, std::shared_ptr<const std::atomic<bool>> isAbandoned) const;
    /// Forgets everything. The tracer's structure must not be used any more.
    void clear();

    /// The first use of a geometry; null when it does not occlude.
    const ktTracedGeometry* find(ktGeometryNumber geometry) const;
    /// Where the surface around each vertex of a geometry lies; empty when it does not occlude, or had another number
    /// of positions when the scene was collected. Worker thread.
    /// @param positions `count` times three floats
    std::vector<ktOneRing> oneRings(ktGeometryNumber geometry, const float* positions,
                                           std::uint32_t count) const;

private:
    void readTriangles(std::vector<std::uint64_t>& bad);
    std::uint64_t makePositions(std::size_t index);
    void sortMeshes();

    struct Normals {
        const float* stored = nullptr; // the scene graph's own
        std::size_t count = 0;
    };

    std::vector<ktGeometryView> views; // between collect() and makeMeshes()
    std::vector<Normals> normals;      // likewise
    std::unordered_map<ktGeometryNumber, std::size_t> firstUses;
};
