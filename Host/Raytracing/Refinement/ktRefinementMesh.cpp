// SPDX-License-Identifier: LGPL-2.1-or-later
// Holds a geometry during refinement: interpolates new vertices, traces their light and records the results.
#include "ktRefinementMesh.h"

#include "ktGeometryInstances.h"
#include "ktGeometryView.h"

#include <algorithm>
#include <cmath>

namespace {

void normalize(float* n) {
    const double length = std::sqrt(double(n[0]) * n[0] + double(n[1]) * n[1] + double(n[2]) * n[2]);
    for (int c = 0; length > 0 && c < 3; ++c)
        n[c] = static_cast<float>(n[c] / length);
}

bool hasOnlySurfaces(const ktGeometryView& view) {
    for (std::uint32_t i = 0; i < view.types.size; ++i)
        if (view.types[i] < GL_TRIANGLES)
            return false;
    return true;
}

} // namespace

ktRefinementMesh::ktRefinementMesh(ktGeoSubdivisionRecord& record_, const ktBounceLight& bounces, const float* newTint)
    : record(record_), toWorld(record_.request.toWorld), tint{newTint[0], newTint[1], newTint[2]} {
    const osg::GeometryPtr geometry = record.geometry.get();
    const osg::GeoPositions3fPtr storedPositions = osg::GeoPositions3fPtr::dcast(geometry->getPositions());
    const osg::GeoNormals3fPtr storedNormals = osg::GeoNormals3fPtr::dcast(geometry->getNormals());
    const osg::GeoTexCoords4fPtr results = osg::GeoTexCoords4fPtr::dcast(geometry->getTexCoords7());
    if (storedPositions == osg::NullFC || storedNormals == osg::NullFC || results == osg::NullFC ||
        geometry->getMFIndexMapping()->size() > 1)
        return;
    originalCount = storedPositions->getSize();
    if (originalCount == 0 || storedNormals->getSize() < originalCount || results->getSize() < originalCount)
        return;
    storedTriangles = ktCountTriangles(geometry);
    const ktGeometryView view = ktViewGeometry(geometry);
    std::uint64_t badTriangles = 0;
    indices = ktReadTriangles(view, badTriangles);
    if (badTriangles > 0 || indices.empty() || !hasOnlySurfaces(view))
        return;
    positions.assign(view.positions(), view.positions() + 3 * std::size_t(originalCount));
    const float* firstNormal = storedNormals->getField()[0].getValues();
    normals.assign(firstNormal, firstNormal + 3 * std::size_t(originalCount));

    const std::vector<float>* gathered = bounces.gathered(ktGetGeometryNumber(geometry));
    if (gathered && gathered->size() == 3 * std::size_t(originalCount))
        originalReceived = *gathered;
    for (Index i = 0; i < originalCount; ++i) {
        Traced traced;
        traced.direct = results->getField()[i];
        for (int c = 0; !originalReceived.empty() && c < 3; ++c)
            traced.received[c] = originalReceived[3 * std::size_t(i) + static_cast<std::size_t>(c)];
        light.push_back(measure(traced));
    }
    usable = !record.request.indirect || !originalReceived.empty();
}

std::vector<ktConformingRefiner::Point> ktRefinementMesh::worldPositions() const {
    std::vector<ktConformingRefiner::Point> world(vertexCount());
    for (Index i = 0; i < vertexCount(); ++i) {
        float p[3];
        toWorld.position(&positions[3 * std::size_t(i)], p);
        world[i] = {p[0], p[1], p[2]};
    }
    return world;
}

bool ktRefinementMesh::comesBefore(const ktRefinementMesh& other) const {
    if (vertexCount() != other.vertexCount())
        return vertexCount() < other.vertexCount();
    for (std::size_t i = 0; i < positions.size(); i += 3) {
        std::array<float, 3> own, others;
        toWorld.position(&positions[i], own.data());
        other.toWorld.position(&other.positions[i], others.data());
        if (own != others)
            return own < others;
    }
    return indices < other.indices;
}

ktIllumination ktRefinementMesh::measure(const Traced& traced) const {
    if (record.request.indirect)
        return ktMeasureIndirect(traced.received);
    return ktMeasureDirect(traced.direct);
}

ktSurfacePoint ktRefinementMesh::pointOn(const ktSplitEdge& edge) const {
    const std::size_t a = edge.a, b = edge.b;
    ktSurfacePoint point;
    for (std::size_t c = 0; c < 3; ++c) {
        point.position[c] = edge.interpolate(positions[3 * a + c], positions[3 * b + c]);
        point.normal[c] = edge.interpolate(normals[3 * a + c], normals[3 * b + c]);
    }
    normalize(point.normal);
    if (!oneRings.empty()) {
        // At a border of the surface, both ends have the surface on the same side.
        point.oneRing = oneRings[a];
        point.oneRing.add(oneRings[b]);
    }
    return point;
}

ktSurfacePoint ktRefinementMesh::interpolate(const Index* vertices, const float* weights) const {
    ktSurfacePoint point;
    for (int corner = 0; corner < 3; ++corner)
        for (std::size_t c = 0; c < 3; ++c) {
            point.position[c] += weights[corner] * positions[3 * std::size_t(vertices[corner]) + c];
            point.normal[c] += weights[corner] * normals[3 * std::size_t(vertices[corner]) + c];
        }
    normalize(point.normal);
    return point;
}

ktSurfacePoint ktRefinementMesh::toWorldSpace(const ktSurfacePoint& point) const {
    ktSurfacePoint world;
    toWorld.position(point.position, world.position);
    if (!toWorld.normal(point.normal, world.normal))
        std::fill_n(world.normal, 3, 0.0f);
    // The length tells how one-sided the surface is. It must not depend on the space.
    const auto length = [](const float* v) { return std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]); };
    toWorld.direction(point.oneRing.sum, world.oneRing.sum);
    const float scale = length(point.oneRing.sum) / std::max(length(world.oneRing.sum), 1e-30f);
    for (float& value : world.oneRing.sum)
        value *= scale;
    world.oneRing.count = point.oneRing.count;
    return world;
}

void ktRefinementMesh::addVertex(const ktSplitEdge& edge) {
    const ktSurfacePoint point = pointOn(edge);
    positions.insert(positions.end(), point.position, point.position + 3);
    normals.insert(normals.end(), point.normal, point.normal + 3);
    if (!oneRings.empty())
        oneRings.push_back(point.oneRing);
    if (!fittedVertices.empty()) {
        const Traced &a = fittedVertices[edge.a], &b = fittedVertices[edge.b];
        Traced between;
        between.direct = edge.interpolate(a.direct, b.direct);
        for (int c = 0; c < 3; ++c)
            between.received[c] = edge.interpolate(a.received[c], b.received[c]);
        fittedVertices.push_back(between);
    }
    parents.push_back(edge);
}

void ktRefinementMesh::keepVertices(const std::vector<bool>& isKept) {
    std::vector<Index> newIndex(isKept.size());
    Index count = 0;
    for (Index i = 0; i < isKept.size(); ++i) {
        newIndex[i] = count;
        if (!isKept[i])
            continue;
        std::copy_n(&positions[3 * std::size_t(i)], 3, &positions[3 * std::size_t(count)]);
        std::copy_n(&normals[3 * std::size_t(i)], 3, &normals[3 * std::size_t(count)]);
        fittedVertices[count] = fittedVertices[i];
        if (i >= originalCount) {
            const ktSplitEdge& edge = parents[i - originalCount];
            parents[count - originalCount] = {newIndex[edge.a], newIndex[edge.b], edge.at};
        }
        ++count;
    }
    positions.resize(3 * std::size_t(count));
    normals.resize(positions.size());
    fittedVertices.resize(count);
    parents.resize(count - originalCount);
}

// The new vertices are consecutive and follow all traced ones.
void ktRefinementMesh::traceNewVertices(const ktRefinementTasks& tasks) {
    const std::size_t first = originalCount + tracedVertices.size();
    const auto count = static_cast<std::uint32_t>(vertexCount() - first);
    if (count == 0)
        return;
    std::atomic<std::uint32_t> done{0};
    ktOcclusionTask direct = *tasks.direct;
    direct.setVertices(toWorld, count, &positions[3 * first], &normals[3 * first], &oneRings[first]);
    std::vector<osg::Vec4f> results(count);
    rayCounts.direct +=
        std::uint64_t(direct.directions->set.count) * ktTraceOcclusion(direct, results.data(), done).traced;
    std::vector<float> gathered(3 * std::size_t(count), 0.0f);
    if (tasks.gather) {
        ktGatherTask gather = *tasks.gather;
        gather.setVertices(toWorld, count, direct.positions, direct.normals, direct.oneRings);
        rayCounts.indirect +=
            std::uint64_t(gather.directions->set.count) * ktGatherLight(gather, gathered.data(), done).traced;
    }
    for (std::size_t i = 0; i < count; ++i) {
        Traced traced;
        traced.direct = results[i];
        std::copy_n(&gathered[3 * i], 3, traced.received);
        tracedVertices.push_back(traced);
        light.push_back(measure(traced));
    }
}

void ktRefinementMesh::startFit() {
    const osg::GeoTexCoords4fPtr results = osg::GeoTexCoords4fPtr::dcast(record.geometry->getTexCoords7());
    fittedVertices.resize(originalCount);
    for (std::size_t i = 0; i < originalCount; ++i) {
        fittedVertices[i].direct = results->getField()[static_cast<osg::UInt32>(i)];
        if (!originalReceived.empty())
            std::copy_n(&originalReceived[3 * i], 3, fittedVertices[i].received);
    }
}

// After the direct pass, x, y, z hold its colour; after gathering, they hold the indirect light.
void ktRefinementMesh::setResults(std::size_t first, std::size_t last, const Traced* traced,
                                  std::vector<osg::Vec4f>& results, std::vector<osg::Vec4f>& baked) const {
    results.clear();
    baked.clear();
    results.reserve(last - first);
    baked.reserve(last - first);
    for (std::size_t i = first; i < last; ++i) {
        osg::Vec4f result = traced[i].direct;
        if (record.request.indirect)
            for (osg::UInt32 c = 0; c < 3; ++c)
                result[c] = std::max(traced[i].received[c] * tint[c], ktDarkestResult);
        results.push_back(result);
        baked.push_back(traced[i].direct);
    }
}

void ktRefinementMesh::finish(std::vector<std::uint32_t> newTriangles) {
    const bool hasReceived = !originalReceived.empty();
    const auto appendReceived = [&](const std::vector<Traced>& traced) {
        received.reserve(received.size() + 3 * traced.size());
        for (std::size_t i = 0; hasReceived && i < traced.size(); ++i)
            received.insert(received.end(), traced[i].received, traced[i].received + 3);
    };
    if (fittedVertices.empty()) {
        if (hasReceived)
            received = std::move(originalReceived);
        appendReceived(tracedVertices);
        setResults(0, tracedVertices.size(), tracedVertices.data(), record.results, record.baked);
    } else {
        received.clear();
        appendReceived(fittedVertices);
        setResults(0, originalCount, fittedVertices.data(), record.originalResults, record.originalBaked);
        setResults(originalCount, fittedVertices.size(), fittedVertices.data(), record.results, record.baked);
        if (record.request.indirect) {
            // The direct light is unchanged, and that of new vertices is the mean of their parents'.
            record.originalBaked.clear();
            record.baked.clear();
        }
    }
    record.parents = std::move(parents);
    record.triangles = std::move(newTriangles);
}

void ktRefinementMesh::publish(ktBounceLight& bounces) {
    if (!received.empty() && !record.parents.empty())
        bounces.setGathered(ktGetGeometryNumber(record.geometry.get()), std::move(received));
    record.isReady = true;
}
