// SPDX-License-Identifier: LGPL-2.1-or-later
#include "ktTracedScene.h"

#include "ktCancelPoint.h"
#include "ktSceneOrder.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <tuple>

namespace {

// Seen from a mirrored space, what ran counter-clockwise runs clockwise.
void flip(std::vector<std::uint32_t>& triangles) {
    for (std::size_t i = 0; i + 2 < triangles.size(); i += 3)
        std::swap(triangles[i + 1], triangles[i + 2]);
}

struct Bounds {
    float low[3] = {0, 0, 0}, high[3] = {0, 0, 0};
    bool any = false;

    void extend(const float* p) {
        for (int axis = 0; axis < 3; ++axis) {
            low[axis] = any ? std::min(low[axis], p[axis]) : p[axis];
            high[axis] = any ? std::max(high[axis], p[axis]) : p[axis];
        }
        any = true;
    }

    float diagonal() const {
        double square = 0;
        for (int axis = 0; axis < 3; ++axis)
            square += (double(high[axis]) - low[axis]) * (double(high[axis]) - low[axis]);
        return static_cast<float>(std::sqrt(square));
    }
};

// World positions; those that are not finite become the origin, and triangles that use them must go.
std::vector<float> transformAll(const ktGeometryView& view, const ktWorldTransform& toWorld, std::vector<bool>& isBad,
                                bool& anyBad) {
    const float largest = 1.0e18f; // no tracer looks farther
    std::vector<float> world(3 * std::size_t(view.positionCount) + 1);
    for (std::size_t i = 0; i < view.positionCount; ++i) {
        if (i % 65536 == 0)
            ktThrowIfCanceled();
        float* p = &world[3 * i];
        toWorld.position(view.positions() + 3 * i, p);
        if (std::fabs(p[0]) <= largest && std::fabs(p[1]) <= largest && std::fabs(p[2]) <= largest)
            continue;
        p[0] = p[1] = p[2] = 0.0f;
        if (!anyBad)
            isBad.resize(view.positionCount);
        anyBad = isBad[i] = true;
    }
    return world;
}

} // namespace

void ktTracedScene::clear() {
    *this = ktTracedScene();
}

void ktTracedScene::collect(const std::vector<osg::NodePtr>& geometryNodes, const std::vector<osg::NodePtr>& lightNodes,
                            ktEventPump& pump) {
    clear();
    for (const osg::NodePtr& node : geometryNodes) {
        const osg::GeometryPtr geometry =
            osg::GeometryPtr::dcast(node != osg::NullFC ? node->getCore() : osg::NodeCorePtr());
        if (geometry == osg::NullFC)
            continue;
        ktTracedGeometry traced;
        traced.node = node;
        traced.geometry = geometry;
        traced.toWorld = ktWorldTransform(node->getToWorld());
        traced.surfaceKey = ktSurfaceKey(node);
        views.push_back(ktViewGeometry(geometry));
        const osg::GeoNormals3fPtr stored = osg::GeoNormals3fPtr::dcast(geometry->getNormals());
        normals.emplace_back();
        if (stored != osg::NullFC && stored->getSize() > 0)
            normals.back() = {stored->getField()[0].getValues(), stored->getSize()};
        if (views.back().stored)
            byPositions.emplace(views.back().stored, geometries.size());
        geometries.push_back(std::move(traced));
        pump.breathe();
    }
    lights = ktReadLights(lightNodes);
    ktSortLights(lights);
}

void ktTracedScene::makePositions(std::size_t index) {
    ktTracedGeometry& traced = geometries[index];
    bool anyBad = false;
    std::vector<bool> isBad;
    traced.positions =
        std::make_shared<const std::vector<float>>(transformAll(views[index], traced.toWorld, isBad, anyBad));
    if (!anyBad)
        return;
    // A use of its own: what overflows here may be fine elsewhere.
    auto kept = std::make_shared<std::vector<std::uint32_t>>();
    for (std::size_t i = 0; i + 2 < traced.triangles->size(); i += 3) {
        const std::uint32_t* corners = &(*traced.triangles)[i];
        if (isBad[corners[0]] || isBad[corners[1]] || isBad[corners[2]])
            ++badTriangles;
        else
            kept->insert(kept->end(), corners, corners + 3);
    }
    traced.triangles = kept;
}

void ktTracedScene::makeMeshes() {
    std::map<std::pair<const void*, bool>, std::shared_ptr<const std::vector<std::uint32_t>>> triangles;
    Bounds bounds;
    for (std::size_t i = 0; i < geometries.size(); ++i) {
        ktThrowIfCanceled();
        ktTracedGeometry& traced = geometries[i];
        const std::uint64_t badBefore = badTriangles;
        auto& shared = triangles[{traced.geometry.getCPtr(), traced.toWorld.isMirrored()}];
        if (!shared) {
            auto fresh = std::make_shared<std::vector<std::uint32_t>>(ktReadTriangles(views[i], badTriangles));
            if (traced.toWorld.isMirrored())
                flip(*fresh);
            fresh->shrink_to_fit();
            shared = fresh;
        }
        traced.triangles = shared;
        makePositions(i);
        if (badTriangles != badBefore && badBefore == 0)
            firstBad = i;
        for (std::uint32_t corner : *traced.triangles)
            bounds.extend(&(*traced.positions)[3 * std::size_t(corner)]);
    }
    views.clear();
    views.shrink_to_fit();
    diagonal = bounds.diagonal();
    sortMeshes();
}

void ktTracedScene::sortMeshes() {
    std::vector<std::tuple<std::uint64_t, std::uint64_t, std::size_t>> order;
    for (std::size_t i = 0; i < geometries.size(); ++i) {
        ktThrowIfCanceled();
        const std::uint64_t shape =
            ktShapeKey(*geometries[i].positions, *geometries[i].triangles, normals[i].stored, normals[i].count);
        order.emplace_back(shape, geometries[i].surfaceKey, i);
    }
    std::sort(order.begin(), order.end());
    for (const auto& entry : order)
        meshes.push_back(std::get<2>(entry));
    normals.clear();
}

std::function<void()> ktTracedScene::tracerBuild(ktTracer& tracer) const {
    struct Arrays {
        std::shared_ptr<const std::vector<std::uint32_t>> triangles;
        std::shared_ptr<const std::vector<float>> positions;
    };
    std::vector<Arrays> arrays;
    std::vector<ktTracerMesh> list;
    for (const std::size_t index : meshes) {
        const ktTracedGeometry& traced = geometries[index];
        arrays.push_back({traced.triangles, traced.positions});
        ktTracerMesh mesh;
        mesh.positions = traced.positions->data();
        mesh.indices = traced.triangles->data();
        mesh.vertexCount = traced.positionCount();
        mesh.triangleCount = static_cast<std::uint32_t>(traced.triangles->size() / 3);
        list.push_back(mesh);
    }
    return [&tracer, arrays = std::move(arrays), list = std::move(list)] {
        if (!tracer.build(list, [](float) { return !ktCancelToken::the().isCanceled(); }))
            throw ktCanceled();
    };
}

const ktTracedGeometry* ktTracedScene::findByPositions(const void* positions) const {
    const auto found = byPositions.find(positions);
    return found == byPositions.end() ? nullptr : &geometries[found->second];
}

std::vector<ktInward> ktTracedScene::inwardDirections(const float* positions, std::uint32_t count) const {
    const ktTracedGeometry* traced = findByPositions(positions);
    // A geometry that was refined since is another one, even in the same place.
    if (!traced || traced->positionCount() != count)
        return {};
    return ktInwardDirections(positions, count, *traced->triangles);
}
