// SPDX-License-Identifier: LGPL-2.1-or-later
#include "ktRefinementMesh.h"

#include "ktGeometryView.h"
#include "ktSceneLight.h"

#include <algorithm>
#include <cmath>

namespace {

// Brightness as an eye would compare it: differences count as they are up to full light, and by ratio above.
float brightness(const float* color) {
    const float luminance = ktLuminance(color);
    return luminance <= 1.0f ? luminance : 1.0f + std::log(luminance);
}

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

ktRefinementMesh::ktRefinementMesh(ktGeoSubdivisionRecord& record, const ktBounceLight& bounces, const float* newTint)
    : record(record), toWorld(record.request.toWorld), tint{newTint[0], newTint[1], newTint[2]} {
    const osg::GeometryPtr geometry = record.geometry.get();
    const osg::GeoPositions3fPtr storedPositions = osg::GeoPositions3fPtr::dcast(geometry->getPositions());
    const osg::GeoNormals3fPtr storedNormals = osg::GeoNormals3fPtr::dcast(geometry->getNormals());
    const osg::GeoTexCoords4fPtr results = osg::GeoTexCoords4fPtr::dcast(geometry->getTexCoords7());
    if (storedPositions == osg::NullFC || storedNormals == osg::NullFC || results == osg::NullFC ||
        geometry->getMFIndexMapping()->size() > 1)
        return;
    oldCount = storedPositions->getSize();
    if (oldCount == 0 || storedNormals->getSize() < oldCount || results->getSize() < oldCount)
        return;
    const ktGeometryView view = ktViewGeometry(geometry);
    std::uint64_t badTriangles = 0;
    indices = ktReadTriangles(view, badTriangles);
    if (badTriangles > 0 || indices.empty() || !hasOnlySurfaces(view))
        return;
    positions.assign(view.positions(), view.positions() + 3 * std::size_t(oldCount));
    const float* firstNormal = storedNormals->getField()[0].getValues();
    normals.assign(firstNormal, firstNormal + 3 * std::size_t(oldCount));

    const std::vector<float>* received = bounces.gathered(geometry);
    if (received && received->size() == 3 * std::size_t(oldCount))
        oldReceived = *received;
    for (Index i = 0; i < oldCount; ++i) {
        Traced traced;
        traced.direct = results->getField()[i];
        for (int c = 0; !oldReceived.empty() && c < 3; ++c)
            traced.received[c] = oldReceived[3 * std::size_t(i) + static_cast<std::size_t>(c)];
        light.push_back(measure(traced));
    }
    usable = !record.request.indirect || !oldReceived.empty();
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

ktIllumination ktRefinementMesh::measure(const Traced& traced) const {
    if (record.request.indirect)
        return {0.0f, brightness(traced.received)};
    return {traced.direct[3], brightness(traced.direct.getValues())};
}

ktRefinementMesh::Point ktRefinementMesh::middle(Index a, Index b) const {
    Point point;
    for (std::size_t c = 0; c < 3; ++c) {
        point.position[c] = 0.5f * (positions[3 * std::size_t(a) + c] + positions[3 * std::size_t(b) + c]);
        point.normal[c] = 0.5f * (normals[3 * std::size_t(a) + c] + normals[3 * std::size_t(b) + c]);
    }
    normalize(point.normal);
    // Along an edge of the surface both ends have it on the same side.
    point.inward = inward[a];
    point.inward.add(inward[b]);
    return point;
}

ktRefinementMesh::Point ktRefinementMesh::inside(const Index* vertices, const float* weights) const {
    Point point = {};
    for (int corner = 0; corner < 3; ++corner)
        for (std::size_t c = 0; c < 3; ++c) {
            point.position[c] += weights[corner] * positions[3 * std::size_t(vertices[corner]) + c];
            point.normal[c] += weights[corner] * normals[3 * std::size_t(vertices[corner]) + c];
        }
    normalize(point.normal);
    return point;
}

std::size_t ktRefinementMesh::addProbe(const Index* vertices, const float* weights) {
    probePoints.push_back(inside(vertices, weights));
    return probePoints.size() - 1;
}

std::size_t ktRefinementMesh::addMiddleProbe(Index a, Index b) {
    const std::uint64_t key = ktConformingRefiner::edgeBetween(a, b);
    const auto [entry, isNew] = middleProbes.try_emplace(key, probePoints.size());
    if (isNew)
        probePoints.push_back(middle(a, b));
    return entry->second;
}

std::vector<ktRefinementMesh::Traced> ktRefinementMesh::trace(const std::vector<Point>& points,
                                                              const ktRefinementLight& how) const {
    std::vector<Traced> traced(points.size());
    if (points.empty())
        return traced;
    std::vector<float> places, directions;
    std::vector<ktInward> sides;
    for (const Point& point : points) {
        places.insert(places.end(), point.position, point.position + 3);
        directions.insert(directions.end(), point.normal, point.normal + 3);
        sides.push_back(point.inward);
    }
    std::atomic<std::uint32_t> done{0};
    const auto count = static_cast<std::uint32_t>(points.size());
    ktOcclusionTask direct = *how.direct;
    direct.toWorld = toWorld;
    direct.count = count;
    direct.positions = places.data();
    direct.normals = directions.data();
    direct.inward = sides.data();
    std::vector<osg::Vec4f> results(count);
    ktTraceOcclusion(direct, results.data(), done);
    std::vector<float> received(3 * points.size(), 0.0f);
    if (how.gather) {
        ktGatherTask gather = *how.gather;
        gather.toWorld = toWorld;
        gather.count = count;
        gather.positions = places.data();
        gather.normals = directions.data();
        gather.inward = sides.data();
        ktGatherLight(gather, received.data(), done);
    }
    for (std::size_t i = 0; i < traced.size(); ++i) {
        traced[i].direct = results[i];
        std::copy_n(&received[3 * i], 3, traced[i].received);
    }
    return traced;
}

void ktRefinementMesh::traceProbes(const ktRefinementLight& how) {
    const std::vector<Point> open(probePoints.begin() + static_cast<std::ptrdiff_t>(probeTraced.size()),
                                  probePoints.end());
    for (const Traced& traced : trace(open, how)) {
        probeTraced.push_back(traced);
        probeLight.push_back(measure(traced));
    }
}

void ktRefinementMesh::addVertex(Index a, Index b) {
    const Point point = middle(a, b);
    positions.insert(positions.end(), point.position, point.position + 3);
    normals.insert(normals.end(), point.normal, point.normal + 3);
    inward.push_back(point.inward);
    parents.push_back({a, b});
}

void ktRefinementMesh::finishVertices(const ktRefinementLight& how) {
    std::vector<Point> open;
    std::vector<std::size_t> openVertices;
    for (std::size_t i = tracedVertices.size(); i < parents.size(); ++i) {
        const auto known = middleProbes.find(ktConformingRefiner::edgeBetween(parents[i][0], parents[i][1]));
        if (known != middleProbes.end() && known->second < probeTraced.size()) {
            tracedVertices.push_back(probeTraced[known->second]);
        } else {
            tracedVertices.emplace_back();
            open.push_back(middle(parents[i][0], parents[i][1]));
            openVertices.push_back(i);
        }
    }
    const std::vector<Traced> traced = trace(open, how);
    for (std::size_t i = 0; i < traced.size(); ++i)
        tracedVertices[openVertices[i]] = traced[i];
    for (std::size_t i = light.size() - oldCount; i < tracedVertices.size(); ++i)
        light.push_back(measure(tracedVertices[i]));
    probePoints.clear();
    probeTraced.clear();
    probeLight.clear();
    middleProbes.clear();
}

void ktRefinementMesh::finish(std::vector<std::uint32_t> newTriangles, std::vector<float>& gathered) {
    gathered = std::move(oldReceived);
    for (const Traced& traced : tracedVertices) {
        osg::Vec4f result = traced.direct;
        // After the direct pass its colour still lies in x, y, z; later these hold the indirect light.
        if (record.request.indirect)
            for (osg::UInt32 c = 0; c < 3; ++c)
                result[c] = std::max(traced.received[c] * tint[c], ktDarkestResult);
        record.results.push_back(result);
        record.baked.push_back(traced.direct);
        if (!gathered.empty())
            gathered.insert(gathered.end(), traced.received, traced.received + 3);
    }
    record.parents = std::move(parents);
    record.triangles = std::move(newTriangles);
    record.isReady = true;
}
