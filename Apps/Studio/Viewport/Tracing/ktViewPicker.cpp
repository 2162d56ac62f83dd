// SPDX-License-Identifier: LGPL-2.1-or-later
// Finds what is under points of the view, with the host's ray tracer.
#include "ktParallel.h" // before Qt, whose macro `emit` is a name inside TBB

#include "ktViewPicker.h"

#include "ktTracer.h"
#include "ktTracerFactory.h"
#include "ktWorkers.h"
#include "ktWorldTransform.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <limits>
#include <set>

namespace {

constexpr int mostLayers = 64; // of surfaces along a ray that are not visible

void aim(ktRayPacket& rays, std::uint32_t lane, const ktViewCamera::Ray& ray) {
    rays.originX[lane] = static_cast<float>(ray.origin[0]);
    rays.originY[lane] = static_cast<float>(ray.origin[1]);
    rays.originZ[lane] = static_cast<float>(ray.origin[2]);
    rays.directionX[lane] = static_cast<float>(ray.direction[0]);
    rays.directionY[lane] = static_cast<float>(ray.direction[1]);
    rays.directionZ[lane] = static_cast<float>(ray.direction[2]);
    rays.minDistance[lane] = 0;
    rays.maxDistance[lane] = std::numeric_limits<float>::max();
    rays.active |= 1u << lane;
}

} // namespace

/// The tracer with what it reads. Uses of the scene and its meshes have the same numbers.
struct ktViewPicker::Structure {
    struct Source {
        std::shared_ptr<const std::vector<float>> positions;
        std::shared_ptr<const std::vector<std::uint32_t>> triangles;
        ktWorldTransform toWorld;
    };
    std::uint64_t stamp = 0; // of the scene
    std::vector<Source> sources;
    std::vector<std::vector<float>> positions;        // world space
    std::vector<std::vector<std::uint32_t>> mirrored; // triangles of mirrored uses
    std::unique_ptr<ktTracer> tracer;

    void make(const std::atomic<bool>& isAbandoned) {
        positions.resize(sources.size());
        mirrored.resize(sources.size());
        std::vector<ktTracerMesh> meshes(sources.size());
        ktParallel::forEach(sources.size(), [&](std::size_t i) {
            const Source& source = sources[i];
            const std::size_t count = source.positions->size() / 3;
            positions[i].resize(3 * count + 1);
            for (std::size_t vertex = 0; vertex < count && !isAbandoned; ++vertex) {
                float* world = &positions[i][3 * vertex];
                source.toWorld.position(&(*source.positions)[3 * vertex], world);
                for (int axis = 0; axis < 3; ++axis) // vertices that no triangle uses
                    world[axis] = std::abs(world[axis]) < 1e18f ? world[axis] : 0;
            }
            const std::vector<std::uint32_t>* triangles = source.triangles.get();
            if (source.toWorld.isMirrored()) {
                mirrored[i] = *triangles;
                for (std::size_t t = 0; t + 2 < mirrored[i].size(); t += 3)
                    std::swap(mirrored[i][t + 1], mirrored[i][t + 2]);
                triangles = &mirrored[i];
            }
            meshes[i].positions = positions[i].data();
            meshes[i].indices = triangles->data();
            meshes[i].vertexCount = static_cast<std::uint32_t>(count);
            meshes[i].triangleCount = static_cast<std::uint32_t>(triangles->size() / 3);
        });
        tracer = ktMakeTracer();
        tracer->build(meshes, [&isAbandoned](float) { return !isAbandoned; });
    }

    const std::uint32_t* corners(std::uint32_t mesh, std::uint32_t triangle) const {
        const auto& triangles = mirrored[mesh].empty() ? *sources[mesh].triangles : mirrored[mesh];
        return &triangles[3 * static_cast<std::size_t>(triangle)];
    }
};

struct ktViewPicker::Build {
    std::unique_ptr<Structure> structure = std::make_unique<Structure>();
    std::string error;
    std::atomic<bool> isAbandoned{false};
    std::unique_ptr<ktWorkers> workers; // ends before the rest is destroyed
    ~Build() {
        isAbandoned = true;
        workers.reset();
    }
};

ktViewPicker::ktViewPicker(const ktViewScene& scene_, QObject* parent) : QObject(parent), scene(scene_) {}

ktViewPicker::~ktViewPicker() = default;

bool ktViewPicker::isReady() const {
    return structure && structure->stamp == scene.stamp;
}

void ktViewPicker::prepare(std::function<void()> whenReady) {
    if (isReady()) {
        if (whenReady)
            whenReady();
        return;
    }
    if (whenReady)
        waiting = std::move(whenReady);
    if (!build || build->structure->stamp != scene.stamp)
        start();
}

void ktViewPicker::start() {
    structure.reset();
    build.reset();
    error.clear();
    build = std::make_unique<Build>();
    build->structure->stamp = scene.stamp;
    for (const ktViewUse& use : scene.uses) {
        const ktShownGeometry& geometry = scene.geometries[use.geometry];
        build->structure->sources.push_back({geometry.positions, geometry.triangles, ktWorldTransform(use.toWorld)});
    }
    build->workers = std::make_unique<ktWorkers>([this, work = build.get()] { // ends before both are destroyed
        try {
            work->structure->make(work->isAbandoned);
        } catch (const std::exception& problem) {
            work->error = problem.what();
        }
        const std::uint64_t stamp = work->structure->stamp;
        if (!work->isAbandoned)
            QMetaObject::invokeMethod(
                this,
                [this, stamp] {
                    if (build && build->structure->stamp == stamp)
                        finish();
                },
                Qt::QueuedConnection);
    });
}

void ktViewPicker::finish() {
    build->workers->waitForEnd();
    error = build->error;
    if (error.empty())
        structure = std::move(build->structure);
    else
        build->structure = std::make_unique<Structure>();
    build.reset();
    const std::function<void()> ready = std::move(waiting);
    waiting = nullptr;
    if (ready && isReady())
        ready();
}

void ktViewPicker::trace(ktRayPacket& rays, ktHitPacket& hits, bool withGroundPlanes) const {
    const std::uint32_t wanted = rays.active;
    ktHitPacket layer;
    std::fill(std::begin(hits.mesh), std::end(hits.mesh), ktHitPacket::noMesh);
    for (int i = 0; i < mostLayers && rays.active != 0; ++i) {
        structure->tracer->nearest(rays, true, layer);
        for (std::uint32_t lane = 0; lane < ktRayPacket::width; ++lane) {
            const std::uint32_t bit = 1u << lane;
            if (!(rays.active & bit))
                continue;
            if (layer.mesh[lane] == ktHitPacket::noMesh) {
                rays.active &= ~bit;
                continue;
            }
            const ktViewMaterial& material = scene.materials[scene.uses[layer.mesh[lane]].material];
            const bool isHiddenBack = !material.look.isDoubleSided && (layer.backSide & bit);
            if (isHiddenBack || (material.isGroundPlane && !withGroundPlanes)) {
                rays.minDistance[lane] =
                    std::nextafter(layer.distance[lane] * 1.000001f, std::numeric_limits<float>::max());
                continue;
            }
            hits.mesh[lane] = layer.mesh[lane], hits.triangle[lane] = layer.triangle[lane];
            hits.u[lane] = layer.u[lane], hits.v[lane] = layer.v[lane], hits.distance[lane] = layer.distance[lane];
            rays.active &= ~bit;
        }
    }
    rays.active = wanted;
}

// A parallel view also shows what is behind the eye.
ktViewCamera::Ray ktViewPicker::rayOf(const ktViewCamera& camera, double aspect, double x, double y) const {
    ktViewCamera::Ray ray = camera.ray(x, y, aspect);
    if (camera.isParallel()) {
        const ktViewCamera::Vector centre = scene.allBounds.centre();
        double back = scene.allBounds.diagonal();
        for (std::size_t axis = 0; axis < 3; ++axis)
            back += std::abs(centre[axis] - ray.origin[axis]);
        for (std::size_t axis = 0; axis < 3; ++axis)
            ray.origin[axis] -= back * ray.direction[axis];
    }
    return ray;
}

std::optional<ktViewPicker::Hit> ktViewPicker::pick(const ktViewCamera& camera, double aspect, double x, double y,
                                                    bool withGroundPlanes) const {
    if (!isReady())
        return {};
    const ktViewCamera::Ray ray = rayOf(camera, aspect, x, y);
    ktRayPacket rays;
    ktHitPacket hits;
    aim(rays, 0, ray);
    trace(rays, hits, withGroundPlanes);
    if (hits.mesh[0] == ktHitPacket::noMesh)
        return {};
    Hit hit;
    hit.use = hits.mesh[0];
    std::copy_n(structure->corners(hits.mesh[0], hits.triangle[0]), 3, hit.corners);
    hit.u = hits.u[0], hit.v = hits.v[0];
    const float weights[3] = {1 - hit.u - hit.v, hit.u, hit.v};
    hit.vertex = hit.corners[std::max_element(weights, weights + 3) - weights];
    for (std::size_t axis = 0; axis < 3; ++axis)
        hit.point[axis] = ray.origin[axis] + static_cast<double>(hits.distance[0]) * ray.direction[axis];
    return hit;
}

std::vector<std::uint32_t> ktViewPicker::pickRectangle(const ktViewCamera& camera, double aspect, double left,
                                                       double bottom, double right, double top, bool withGroundPlanes,
                                                       int rayCount) const {
    if (!isReady() || !(right > left) || !(top > bottom))
        return {};
    const double width = (right - left) * aspect, height = top - bottom;
    const int columns = std::clamp(static_cast<int>(std::sqrt(rayCount * width / height)), 1, rayCount);
    const int rows = std::max(1, rayCount / columns);
    std::set<std::uint32_t> found;
    for (int row = 0; row < rows; ++row)
        for (int column = 0; column < columns;) {
            ktRayPacket rays;
            ktHitPacket hits;
            for (std::uint32_t lane = 0; lane < ktRayPacket::width && column < columns; ++lane, ++column)
                aim(rays, lane,
                    rayOf(camera, aspect, left + (right - left) * (column + 0.5) / columns,
                          bottom + (top - bottom) * (row + 0.5) / rows));
            trace(rays, hits, withGroundPlanes);
            for (std::uint32_t lane = 0; lane < ktRayPacket::width; ++lane)
                if ((rays.active >> lane & 1u) && hits.mesh[lane] != ktHitPacket::noMesh)
                    found.insert(hits.mesh[lane]);
        }
    return {found.begin(), found.end()};
}
