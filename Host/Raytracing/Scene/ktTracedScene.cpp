// SPDX-License-Identifier: LGPL-2.1-or-later
// Copies occluders and lights of the scene graph to world space, and prepares the tracer's meshes.
#include "ktTracedScene.h"

#include "ktCancelPoint.h"
#include "ktParallel.h"
#include "ktSceneOrder.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <map>
#include <tuple>

namespace {

// A mirrored transform turns counter-clockwise triangles into clockwise ones.
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

    void extend(const Bounds& other) {
        if (!other.any)
            return;
        extend(other.low);
        extend(other.high);
    }

    float diagonal() const {
        double square = 0;
        for (int axis = 0; axis < 3; ++axis)
            square += (double(high[axis]) - low[axis]) * (double(high[axis]) - low[axis]);
        return static_cast<float>(std::sqrt(square));
    }
};

constexpr std::size_t chunkSize = 65536; // positions or corners; less than a millisecond

// Bounds of all corners.
Bounds boundsOf(const std::vector<float>& positions, const std::vector<std::uint32_t>& corners) {
    std::vector<Bounds> chunks((corners.size() + chunkSize - 1) / chunkSize);
    ktParallel::forEach(chunks.size(), [&](std::size_t chunk) {
        const std::size_t first = chunk * chunkSize;
        for (std::size_t i = first; i < std::min(first + chunkSize, corners.size()); ++i)
            chunks[chunk].extend(&positions[3 * std::size_t(corners[i])]);
    });
    Bounds bounds;
    for (const Bounds& chunk : chunks)
        bounds.extend(chunk);
    return bounds;
}

// World positions. Bad ones, not finite or too large, become the origin; triangles that use them must be removed.
// @param isBad one per position; empty if no position is bad
std::vector<float> transformAll(const ktGeometryView& view, const ktWorldTransform& toWorld, std::vector<char>& isBad) {
    const float largest = 1.0e18f; // the limit of all tracers
    const std::size_t count = view.positionCount;
    std::vector<float> world(3 * count + 1);
    const auto transform = [&](std::size_t i) {
        float* p = &world[3 * i];
        toWorld.position(view.positions() + 3 * i, p);
        if (std::fabs(p[0]) <= largest && std::fabs(p[1]) <= largest && std::fabs(p[2]) <= largest)
            return true;
        p[0] = p[1] = p[2] = 0.0f;
        return false;
    };
    std::atomic<bool> anyBad{false};
    ktParallel::forEach((count + chunkSize - 1) / chunkSize, [&](std::size_t chunk) {
        ktThrowIfCanceled();
        for (std::size_t i = chunk * chunkSize; i < std::min((chunk + 1) * chunkSize, count); ++i)
            if (!transform(i))
                anyBad = true;
    });
    if (anyBad) {
        isBad.resize(count);
        for (std::size_t i = 0; i < count; ++i)
            isBad[i] = !transform(i);
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
        traced.number = ktGetGeometryNumber(geometry);
        traced.toWorld = ktWorldTransform(node->getToWorld());
        traced.surfaceHash = ktHashSurface(node);
        views.push_back(ktViewGeometry(geometry));
        const osg::GeoNormals3fPtr stored = osg::GeoNormals3fPtr::dcast(geometry->getNormals());
        normals.emplace_back();
        if (stored != osg::NullFC && stored->getSize() > 0)
            normals.back() = {stored->getField()[0].getValues(), stored->getSize()};
        firstUses.emplace(traced.number, geometries.size());
        geometries.push_back(std::move(traced));
        pump.handleEventsIfDue();
    }
    lights = ktReadLights(lightNodes);
    ktSortLights(lights);
}

// Returns the number of triangles that are removed.
std::uint64_t ktTracedScene::makePositions(std::size_t index) {
    ktTracedGeometry& traced = geometries[index];
    std::vector<char> isBad;
    traced.positions = std::make_shared<const std::vector<float>>(transformAll(views[index], traced.toWorld, isBad));
    if (isBad.empty())
        return 0;
    // Not shared: positions that overflow in this instance may be finite in another.
    auto kept = std::make_shared<std::vector<std::uint32_t>>();
    std::uint64_t bad = 0;
    for (std::size_t i = 0; i + 2 < traced.triangles->size(); i += 3) {
        const std::uint32_t* corners = &(*traced.triangles)[i];
        if (isBad[corners[0]] || isBad[corners[1]] || isBad[corners[2]])
            ++bad;
        else
            kept->insert(kept->end(), corners, corners + 3);
    }
    traced.triangles = kept;
    return bad;
}

// Reads each shape once for its mirrored and once for its other instances. The first instance counts bad triangles.
void ktTracedScene::readTriangles(std::vector<std::uint64_t>& bad) {
    std::map<std::pair<ktGeometryNumber, bool>, std::size_t> firstAlike;
    std::vector<std::size_t> firstUseOf, distinct;
    for (std::size_t i = 0; i < geometries.size(); ++i) {
        const bool isMirrored = geometries[i].toWorld.isMirrored();
        firstUseOf.push_back(firstAlike.try_emplace({geometries[i].number, isMirrored}, i).first->second);
        if (firstUseOf[i] == i)
            distinct.push_back(i);
    }
    ktParallel::forEach(distinct.size(), [&](std::size_t shape) {
        ktThrowIfCanceled();
        const std::size_t i = distinct[shape];
        auto triangles = std::make_shared<std::vector<std::uint32_t>>(ktReadTriangles(views[i], bad[i]));
        if (geometries[i].toWorld.isMirrored())
            flip(*triangles);
        triangles->shrink_to_fit();
        geometries[i].triangles = triangles;
    });
    for (std::size_t i = 0; i < geometries.size(); ++i)
        geometries[i].triangles = geometries[firstUseOf[i]].triangles;
}

void ktTracedScene::makeMeshes() {
    std::vector<std::uint64_t> bad(geometries.size());
    readTriangles(bad);
    std::vector<Bounds> bounds(geometries.size());
    ktParallel::forEach(geometries.size(), [&](std::size_t i) {
        ktThrowIfCanceled();
        bad[i] += makePositions(i);
        bounds[i] = boundsOf(*geometries[i].positions, *geometries[i].triangles);
    });
    views.clear();
    views.shrink_to_fit();
    Bounds all;
    for (std::size_t i = 0; i < geometries.size(); ++i) {
        all.extend(bounds[i]);
        if (bad[i] > 0 && badTriangles == 0)
            firstBad = i;
        badTriangles += bad[i];
    }
    diagonal = all.diagonal();
    sortMeshes();
}

void ktTracedScene::sortMeshes() {
    std::vector<std::tuple<std::uint64_t, std::uint64_t, std::size_t>> order(geometries.size());
    ktParallel::forEach(geometries.size(), [&](std::size_t i) {
        ktThrowIfCanceled();
        const std::uint64_t shape =
            ktHashShape(*geometries[i].positions, *geometries[i].triangles, normals[i].stored, normals[i].count);
        order[i] = {shape, geometries[i].surfaceHash, i};
    });
    std::sort(order.begin(), order.end());
    for (const auto& entry : order)
        meshes.push_back(std::get<2>(entry));
    normals.clear();
}

std::function<void()> ktTracedScene::makeBuildJob(ktTracer& tracer,
                                                  std::shared_ptr<const std::atomic<bool>> isAbandoned) const {
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
    return [&tracer, arrays = std::move(arrays), list = std::move(list), isAbandoned = std::move(isAbandoned)] {
        if (!tracer.build(list, [&](float) { return !*isAbandoned && !ktCancelToken::the().isCanceled(); }))
            throw ktCanceled();
    };
}

const ktTracedGeometry* ktTracedScene::find(ktGeometryNumber geometry) const {
    const auto found = firstUses.find(geometry);
    return found == firstUses.end() ? nullptr : &geometries[found->second];
}

std::vector<ktOneRing> ktTracedScene::oneRings(ktGeometryNumber geometry, const float* positions,
                                               std::uint32_t count) const {
    const ktTracedGeometry* traced = find(geometry);
    // A geometry that was refined meanwhile has other triangles.
    if (!traced || traced->positionCount() != count)
        return {};
    return ktMakeOneRings(positions, count, *traced->triangles);
}
