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
    /// Three position indices per triangle; triangle i is triangle i of the tracer. Instances of a core share them if
    /// both or neither are mirrored.
    std::shared_ptr<const std::vector<std::uint32_t>> triangles;
    /// Three floats per position and one spare. In world space; if it is traced as an instance, in object space, and
    /// shared by all instances of a core.
    std::shared_ptr<const std::vector<float>> positions;
    bool isInstance = false;
    std::uint64_t surfaceHash = 0; ///< see ktSceneOrder.h

    std::uint32_t positionCount() const { return static_cast<std::uint32_t>(positions->size() / 3); }
    /// The positions in world space; for an instance, a new copy.
    std::shared_ptr<const std::vector<float>> worldPositions() const;
};

/// The occluders in world space, and the lights. Copies what it needs of the scene graph, so later changes of the scene
/// have no effect until the next build.
class ktTracedScene {
public:
    /// In the order in which they were collected.
    std::vector<ktTracedGeometry> geometries;
    /// The tracer's meshes, as indices into `geometries`. Their order does not depend on the order of the nodes.
    std::vector<std::size_t> meshes;
    std::vector<ktSceneLight> lights;
    float diagonal = 0.0f;          ///< of the occluders' bounds, world units
    std::uint64_t badTriangles = 0; ///< left out because of bad indices or positions
    std::size_t firstBad = 0;       ///< the first of `geometries` that had such triangles

    /// Lists the nodes. Main thread. Leaves out null nodes and nodes without geometry.
    void collect(const std::vector<osg::NodePtr>& geometryNodes, const std::vector<osg::NodePtr>& lightNodes,
                 ktEventPump& pump);
    /// Makes the meshes, after collect(). Not on the main thread; uses the threads of the calling thread's arena.
    /// @throws ktCanceled, std::exception
    /// @param mayInstance whether the tracer takes instances
    void makeMeshes(bool mayInstance = false);
    /// Returns a job that builds the tracer's structure; call after makeMeshes(). The job uses only the tracer. It
    /// keeps the arrays of the meshes alive, even if this scene is cleared or destroyed. It throws ktCanceled or
    /// std::exception.
    /// @param isAbandoned true: nobody waits for the job any more, so it ends, even if the cancel token has been reset
    std::function<void()> makeBuildJob(ktTracer& tracer, std::shared_ptr<const std::atomic<bool>> isAbandoned) const;
    /// The meshes as a tracer takes them, after makeMeshes(). They refer to this scene and to the transforms.
    /// @param transforms receives the matrices of instances
    std::vector<ktTracerMesh> tracerMeshes(std::vector<ktWorldTransform>& transforms) const;
    /// Clears everything. The tracer's structure must not be used any more.
    void clear();

    /// The first instance of a geometry; null if it does not occlude.
    const ktTracedGeometry* find(ktGeometryNumber geometry) const;
    /// The one-rings of the vertices of a geometry; empty if it does not occlude, or had another number of positions
    /// when the scene was collected. Worker thread.
    /// @param positions `count` times three floats
    std::vector<ktOneRing> oneRings(ktGeometryNumber geometry, const float* positions, std::uint32_t count) const;

private:
    void readTriangles(std::vector<std::uint64_t>& bad);
    void chooseInstances();
    std::uint64_t removeTriangles(std::size_t index, const std::vector<char>& isBad);
    void sortMeshes(const std::vector<std::uint64_t>& shapes);

    struct Normals {
        const float* stored = nullptr; // in the scene graph
        std::size_t count = 0;
    };

    std::vector<ktGeometryView> views; // between collect() and makeMeshes()
    std::vector<Normals> normals;      // likewise
    std::unordered_map<ktGeometryNumber, std::size_t> firstUses;
};
