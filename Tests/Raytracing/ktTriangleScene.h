// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktCancelToken.h"
#include "ktLogOutput.h"
#include "ktSceneRaytracing.h"
#include "ktTestMesh.h"

#include <cstdint>
#include <cstring>
#include <OpenSG/OSGGeometry.h>
#include <OpenSG/OSGGroup.h>
#include <OpenSG/OSGNode.h>
#include <OpenSG/OSGTransform.h>

/// The floats of vectors or points, to compare them exactly: their operator == has a tolerance.
template <class Vector>
std::vector<std::uint32_t> ktBitsOf(const std::vector<Vector>& vectors) {
    std::vector<std::uint32_t> bits(vectors.size() * sizeof(Vector) / sizeof(std::uint32_t));
    if (!bits.empty())
        std::memcpy(bits.data(), static_cast<const void*>(vectors.data()), bits.size() * sizeof(std::uint32_t));
    return bits;
}

/// A scene graph for tests: one root, geometry below transforms.
class ktTriangleScene {
public:
    ktTriangleScene();
    ~ktTriangleScene();

    /// A geometry node of plain triangles below a transform. @return the node, kept by the scene
    osg::NodePtr addMesh(const ktTestMesh& mesh, const osg::Matrix& toWorld = osg::Matrix());
    /// Another node with the core of `node`, below a transform.
    osg::NodePtr addInstance(const osg::NodePtr& node, const osg::Matrix& toWorld);
    /// A node with this core, below a transform.
    osg::NodePtr addCore(const osg::NodeCorePtr& core, const osg::Matrix& toWorld = osg::Matrix());

    std::vector<osg::NodePtr> geometryNodes;

    static osg::GeometryPtr makeGeometry(const ktTestMesh& mesh);

private:
    osg::NodeRefPtr root;
};

/// Calls the host's utilities as the plug-in does, for vertices without a geometry.
class ktTestTracing {
public:
    explicit ktTestTracing(int count = 32) : ktTestTracing(std::make_unique<ktSceneRaytracing>(), count) {}
    ktTestTracing(std::unique_ptr<ktSceneRaytracing> utils, int count);
    ~ktTestTracing();

    struct Vertex {
        osg::Pnt3f position;
        osg::Vec3f normal;
    };

    void build(const ktTriangleScene& scene, const std::vector<osg::NodePtr>& lights = {}) {
        utils->buildAccelerationStructure(scene.geometryNodes, lights);
    }
    /// Results are `untouched` before the call.
    std::vector<osg::Vec4f> trace(const std::vector<Vertex>& vertices, bool lightMode = false);
    osg::Vec4f traceOne(const osg::Pnt3f& position, const osg::Vec3f& normal, bool lightMode = false) {
        return trace({{position, normal}}, lightMode)[0];
    }

    /// Traces the vertices of a geometry node with these normals and passes the scene's own pointers.
    std::vector<osg::Vec4f> traceNode(const osg::NodePtr& node, const std::vector<osg::Vec3f>& normals);

    static const osg::Vec4f untouched;

    std::unique_ptr<ktSceneRaytracing> utils;
    ktSampler* sampler;
    const osg::Matrix* toWorld = nullptr; ///< null: no transform
    bool bothSides = true;
};

/// Records the log during its lifetime. Resets the cancel token at the start and the end.
class ktTestLog {
public:
    ktTestLog() {
        ktCancelToken::the().reset();
        ktLogOutput::setSink([this](ktLogLevel, const std::string& line) { lines.push_back(line); });
    }
    ~ktTestLog() {
        ktLogOutput::setSink({});
        ktCancelToken::the().reset();
    }

    std::vector<std::string> lines;
};
