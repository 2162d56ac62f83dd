// SPDX-License-Identifier: LGPL-2.1-or-later
// Copies occluders and lights of the scene graph to world space, and prepares the tracer's meshes.
#include "ktTracedScene.h"

#include "ktCancelPoint.h"
#include "ktInstancing.h"
#include "ktParallel.h"
#include "ktSceneOrder.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <map>
#include <OpenSG/OSGWorldMatrices.h>
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

// Positions of a part as its instances need them, and the largest absolute coordinate on each axis.
struct PartPositions {
    std::shared_ptr<const std::vector<float>> positions;
    float farthest[3] = {0, 0, 0};
    bool isUsable = true; // all coordinates are finite, and zero or normal: workers take others for zero
};

PartPositions copyPositions(const ktGeometryView& view) {
    const float* from = view.positions();
    auto copy = std::make_shared<std::vector<float>>(from, from + 3 * std::size_t(view.positionCount));
    PartPositions part;
    for (std::size_t i = 0; i < copy->size(); ++i) {
        const float size = std::fabs((*copy)[i]);
        part.isUsable = part.isUsable && (size == 0 || std::isnormal(size));
        part.farthest[i % 3] = std::max(part.farthest[i % 3], size);
    }
    copy->push_back(0);
    part.positions = copy;
    return part;
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
    osg::WorldMatrices worldMatrices;
    for (const osg::NodePtr& node : geometryNodes) {
        const osg::GeometryPtr geometry =
            osg::GeometryPtr::dcast(node != osg::NullFC ? node->getCore() : osg::NodeCorePtr());
        if (geometry == osg::NullFC)
            continue;
        ktTracedGeometry traced;
        traced.node = node;
        traced.geometry = geometry;
        traced.number = ktGetGeometryNumber(geometry);
        traced.toWorld = ktWorldTransform(worldMatrices.get(node));
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

// Chooses the geometries that are traced as instances, and gives those of a part common positions.
void ktTracedScene::chooseInstances() {
    std::map<const void*, std::size_t> partOf;
    std::vector<ktPartUse> parts;
    std::vector<std::size_t> part(geometries.size()), firstUse;
    for (std::size_t i = 0; i < geometries.size(); ++i) {
        const auto [entry, isNew] = partOf.try_emplace(geometries[i].triangles.get(), parts.size());
        part[i] = entry->second;
        if (isNew) {
            parts.push_back({0, geometries[i].triangles->size() / 3});
            firstUse.push_back(i);
        }
        ++parts[part[i]].uses;
    }
    const std::vector<bool> chosen = ktChooseInstances(parts, ktGetInstancing());
    std::vector<PartPositions> positions(parts.size());
    ktParallel::forEach(parts.size(), [&](std::size_t p) {
        ktThrowIfCanceled();
        if (chosen[p])
            positions[p] = copyPositions(views[firstUse[p]]);
    });
    for (std::size_t i = 0; i < geometries.size(); ++i) {
        const PartPositions& shared = positions[part[i]];
        if (!shared.positions || !shared.isUsable || !(geometries[i].toWorld.magnitude(shared.farthest) < 1.0e18f))
            continue;
        geometries[i].isInstance = true;
        geometries[i].positions = shared.positions;
    }
}

std::shared_ptr<const std::vector<float>> ktTracedGeometry::worldPositions() const {
    if (!isInstance)
        return positions;
    auto world = std::make_shared<std::vector<float>>(positions->size());
    for (std::size_t i = 0; i + 2 < positions->size(); i += 3)
        toWorld.position(&(*positions)[i], &(*world)[i]);
    return world;
}

// Returns the number of triangles that are removed.
std::uint64_t ktTracedScene::removeTriangles(std::size_t index, const std::vector<char>& isBad) {
    ktTracedGeometry& traced = geometries[index];
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

void ktTracedScene::makeMeshes(bool mayInstance) {
    std::vector<std::uint64_t> bad(geometries.size()), shapes(geometries.size());
    readTriangles(bad);
    if (mayInstance)
        chooseInstances();
    std::vector<Bounds> bounds(geometries.size());
    ktParallel::forEach(geometries.size(), [&](std::size_t i) {
        ktThrowIfCanceled();
        ktTracedGeometry& traced = geometries[i];
        std::vector<char> isBad;
        // Instances are measured and ordered as if they were written out.
        const auto world = std::make_shared<const std::vector<float>>(transformAll(views[i], traced.toWorld, isBad));
        if (!traced.isInstance)
            traced.positions = world;
        if (!isBad.empty())
            bad[i] += removeTriangles(i, isBad);
        bounds[i] = boundsOf(*world, *traced.triangles);
        shapes[i] = ktHashShape(*world, *traced.triangles, normals[i].stored, normals[i].count);
    });
    views.clear();
    views.shrink_to_fit();
    normals.clear();
    Bounds all;
    for (std::size_t i = 0; i < geometries.size(); ++i) {
        all.extend(bounds[i]);
        if (bad[i] > 0 && badTriangles == 0)
            firstBad = i;
        badTriangles += bad[i];
    }
    diagonal = all.diagonal();
    sortMeshes(shapes);
}

void ktTracedScene::sortMeshes(const std::vector<std::uint64_t>& shapes) {
    std::vector<std::tuple<std::uint64_t, std::uint64_t, std::size_t>> order(geometries.size());
    for (std::size_t i = 0; i < geometries.size(); ++i)
        order[i] = {shapes[i], geometries[i].surfaceHash, i};
    std::sort(order.begin(), order.end());
    for (const auto& entry : order)
        meshes.push_back(std::get<2>(entry));
}

std::function<void()> ktTracedScene::makeBuildJob(ktTracer& tracer,
                                                  std::shared_ptr<const std::atomic<bool>> isAbandoned) const {
    struct Arrays {
        std::shared_ptr<const std::vector<std::uint32_t>> triangles;
        std::shared_ptr<const std::vector<float>> positions;
    };
    std::vector<Arrays> arrays;
    for (const std::size_t index : meshes)
        arrays.push_back({geometries[index].triangles, geometries[index].positions});
    std::vector<ktWorldTransform> transforms;
    std::vector<ktTracerMesh> list = tracerMeshes(transforms);
    return [&tracer, arrays = std::move(arrays), transforms = std::move(transforms), list = std::move(list),
            isAbandoned = std::move(isAbandoned)] {
        if (!tracer.build(list, [&](float) { return !*isAbandoned && !ktCancelToken::the().isCanceled(); }))
            throw ktCanceled();
    };
}

std::vector<ktTracerMesh> ktTracedScene::tracerMeshes(std::vector<ktWorldTransform>& transforms) const {
    std::vector<ktTracerMesh> list;
    transforms.clear();
    transforms.reserve(meshes.size()); // the list has their addresses
    for (const std::size_t index : meshes) {
        const ktTracedGeometry& traced = geometries[index];
        ktTracerMesh mesh;
        mesh.positions = traced.positions->data();
        mesh.indices = traced.triangles->data();
        mesh.vertexCount = traced.positionCount();
        mesh.triangleCount = static_cast<std::uint32_t>(traced.triangles->size() / 3);
        if (traced.isInstance)
            mesh.toWorld = transforms.emplace_back(traced.toWorld).rows();
        list.push_back(mesh);
    }
    return list;
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
