// SPDX-License-Identifier: LGPL-2.1-or-later
// Decides how many points the fit traces on each geometry, and along which directions.
#include "ktSceneFit.h"

#include "ktCancelPoint.h"
#include "ktFitMesh.h"
#include "ktGeometryView.h"
#include "ktHemisphereSampler.h"
#include "ktParallel.h"
#include "ktSharedVertices.h"
#include "ktTriangleSize.h"

#include <algorithm>
#include <cmath>
#include <set>

namespace {

constexpr double pointsPerVertex = 2.25;        // that are not fine; those on every face included
constexpr double leastPerVertex = 0.25;         // besides those of the faces
constexpr double fewestPoints = 32768;          // of a scene, its vertices included
constexpr double pointPerAxis = 0.625;          // rays per axis of a point, as a share of a vertex's
constexpr std::uint32_t insidePerAxis = 4;      // rays per axis that tell the inside from the outside
constexpr std::uint32_t fewestPerAxis = 4;      // rays per axis of a point
constexpr std::uint64_t seed = 0x6B74466974ull; // an arbitrary number; the same in every run

// What the points are spread over: the faces that are not fine, and roughly their vertices.
struct Extent {
    double area = 0, faces = 0, vertices = 0;
};

Extent extentOf(const ktTracedGeometry& traced) {
    const std::shared_ptr<const std::vector<float>> world = traced.worldPositions();
    const std::vector<float>& positions = *world;
    const std::vector<std::uint32_t>& triangles = *traced.triangles;
    const double smallEdge = ktSmallEdge(positions.data(), traced.positionCount());
    Extent extent;
    for (std::size_t i = 0; i + 2 < triangles.size(); i += 3) {
        const ktTriangleSize size = ktMeasureTriangle(positions.data(), &triangles[i]);
        if (size.longestEdge_squared < smallEdge * smallEdge || !std::isfinite(size.area))
            continue;
        extent.area += size.area;
        ++extent.faces;
    }
    if (!triangles.empty())
        extent.vertices = extent.faces * 3.0 * traced.positionCount() / static_cast<double>(triangles.size());
    return extent;
}

} // namespace

// Each geometry counts once, as it is traced once. The meshes have an order that does not depend on that of the nodes,
// so the sum always has the same bits.
void ktSceneFit::setScene(const ktTracedScene& newScene) {
    scene = nullptr;
    std::vector<const ktTracedGeometry*> counted;
    std::set<ktGeometryNumber> numbers;
    for (std::size_t index : newScene.meshes)
        if (numbers.insert(newScene.geometries[index].number).second)
            counted.push_back(&newScene.geometries[index]);
    std::vector<Extent> extents(counted.size());
    ktParallel::forEach(counted.size(), [&](std::size_t i) {
        ktThrowIfCanceled();
        extents[i] = extentOf(*counted[i]);
    });
    Extent sum;
    double allVertices = 0;
    for (const ktTracedGeometry* traced : counted)
        allVertices += traced->positionCount();
    for (const Extent& extent : extents) {
        sum.area += extent.area;
        sum.faces += extent.faces;
        sum.vertices += extent.vertices;
    }
    const double points = std::max(
        {pointsPerVertex * sum.vertices - sum.faces, leastPerVertex * sum.vertices, fewestPoints - allVertices});
    density = sum.area > 0 ? points / sum.area : 0;
    mostPoints = static_cast<std::size_t>(points);
    scene = &newScene;
}

void ktSceneFit::clear() {
    scene = nullptr;
    triangles.reset();
    samples = {0, 0};
    task = {};
}

const ktPreparedDirections* ktSceneFit::directions(std::uint32_t perAxis, const ktTracer& tracer) {
    std::unique_ptr<ktSampler>& sampler = samplers[perAxis];
    if (!sampler)
        sampler = std::make_unique<ktSampler>(ktMakeHemisphereDirections(perAxis, perAxis, 0.25f, 0.25f, seed), tracer);
    return sampler->prepared.get();
}

ktFitTask ktSceneFit::settings(const ktVertexTask& vertexTask) {
    ktFitTask fit;
    const auto perAxis = static_cast<std::uint32_t>(std::sqrt(double(vertexTask.directions->set.count)) * pointPerAxis);
    fit.directions = directions(std::max(perAxis, fewestPerAxis), *vertexTask.tracer);
    fit.insideDirections = directions(insidePerAxis, *vertexTask.tracer);
    fit.density = density;
    fit.mostPoints = mostPoints;
    return fit;
}

const ktFitTask* ktSceneFit::prepare(const osg::GeometryPtr& geometry, const ktVertexTask& vertexTask) {
    if (geometry == osg::NullFC)
        return nullptr;
    task = settings(vertexTask);
    if (geometry->getPositions() != osg::NullFC && geometry->getPositions()->getSize() == vertexTask.count)
        task.sharedValues = ktFindSharedVertices(geometry);
    if (const ktTracedGeometry* traced = scene ? scene->find(ktGetGeometryNumber(geometry)) : nullptr) {
        triangles = traced->triangles;
    } else {
        std::uint64_t badTriangles = 0;
        triangles =
            std::make_shared<const std::vector<std::uint32_t>>(ktReadTriangles(ktViewGeometry(geometry), badTriangles));
    }
    task.triangles = triangles.get();
    samples = {0, 0};
    task.samples = &samples;
    return task.triangles->empty() ? nullptr : &task;
}

std::shared_ptr<const ktPassSamples> ktSceneFit::takeSamples(const ktVertexTask& vertexTask, bool indirect) {
    const std::uint32_t* shared = task.sharedValues;
    return std::make_shared<const ktPassSamples>(ktPassSamples{
        triangles, vertexTask.toWorld, task.density, task.mostPoints, std::move(samples), indirect,
        shared ? std::vector<std::uint32_t>(shared, shared + vertexTask.count) : std::vector<std::uint32_t>()});
}
