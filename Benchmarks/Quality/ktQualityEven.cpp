// SPDX-License-Identifier: LGPL-2.1-or-later
// Subdivides a scene evenly, as a peer of refinement: halves the longest edges until there are enough vertices.
#include "ktQualityEven.h"

#include "ktConformingRefiner.h"
#include "ktGeometryInstances.h"
#include "ktGeoSubdivisionRecord.h"
#include "ktRecreateGeometry.h"
#include "ktSceneFile.h"
#include "ktWorldBounds.h"

#include <cmath>
#include <memory>
#include <OpenSG/OSGTriangleIterator.h>
#include <queue>
#include <set>
#include <stdexcept>

namespace {

using Index = ktConformingRefiner::Index;

// A geometry, and its mesh in the refiner.
struct Part {
    osg::GeometryRefPtr geometry;
    std::vector<ktConformingRefiner::Point> positions; // world space
    std::vector<Index> indices;
};

std::vector<Part> collect(const osg::NodePtr& root) {
    std::vector<Part> parts;
    std::set<osg::UInt32> seen;
    ktForEachGeometryInstance(root, ktInstances::Visible, [&](const ktGeometryInstance& use) {
        const osg::GeoPositions3fPtr positions = osg::GeoPositions3fPtr::dcast(use.geometry->getPositions());
        if (positions == osg::NullFC || !seen.insert(use.geometry.getFieldContainerId()).second)
            return true;
        Part part;
        part.geometry = use.geometry;
        for (osg::UInt32 i = 0; i < positions->getSize(); ++i) {
            osg::Pnt3f world;
            use.toWorld.multMatrixPnt(positions->getField()[i], world);
            part.positions.push_back({world[0], world[1], world[2]});
            for (double& value : part.positions.back())
                value = std::isfinite(value) ? value : 0;
        }
        for (osg::TriangleIterator triangle = use.geometry->beginTriangles(); !triangle.isAtEnd(); ++triangle)
            for (int corner = 0; corner < 3; ++corner)
                part.indices.push_back(static_cast<Index>(triangle.getPositionIndex(corner)));
        if (!part.indices.empty())
            parts.push_back(std::move(part));
        return true;
    });
    return parts;
}

// Splits the longest edge, and again, until there are enough vertices or no edge can be split.
void splitLongest(ktConformingRefiner& refiner, std::size_t vertices) {
    using Entry = std::pair<double, ktConformingRefiner::Edge>;
    std::priority_queue<Entry> longest;
    const auto push = [&](Index triangle) {
        for (int corner = 0; corner < 3 && !refiner.isCollapsed(triangle); ++corner) {
            const ktConformingRefiner::Edge edge = refiner.edge(triangle, corner);
            longest.emplace(refiner.squaredLength(edge), edge);
        }
    };
    for (Index triangle = 0; triangle < refiner.triangles().size(); ++triangle)
        push(triangle);
    while (refiner.vertices().size() < vertices && !longest.empty()) {
        refiner.split(longest.top().second); // refuses edges that were split before
        longest.pop();
        for (const ktConformingRefiner::Bisection& bisection : refiner.takeBisections()) {
            push(bisection.triangle);
            push(bisection.newTriangle);
        }
    }
}

// Gives a geometry the vertices and triangles of its mesh in the refiner.
void rebuild(const Part& part, const ktConformingRefiner& refiner, Index mesh) {
    ktGeoSubdivisionRecord record(part.geometry);
    std::vector<Index> local(refiner.vertices().size(), ktConformingRefiner::none);
    Index count = 0;
    for (Index i = 0; i < refiner.vertices().size(); ++i) {
        const ktConformingRefiner::Vertex& vertex = refiner.vertices()[i];
        if (vertex.mesh != mesh)
            continue;
        local[i] = count++;
        if (vertex.parents[0] != ktConformingRefiner::none)
            record.parents.push_back({local[vertex.parents[0]], local[vertex.parents[1]]});
    }
    for (const ktConformingRefiner::Triangle& triangle : refiner.triangles())
        for (const Index vertex : triangle.vertices)
            if (triangle.mesh == mesh)
                record.triangles.push_back(local[vertex]);
    record.results.assign(record.parents.size(), osg::Vec4f(0, 0, 0, 0));
    record.baked = record.results;
    record.isReady = true;
    if (!record.parents.empty())
        ktRecreateRefinedGeometry(record);
}

} // namespace

ktEvenScene ktWriteEvenScene(const std::string& scene, const std::string& output, std::size_t vertices) {
    ktFileReport report;
    const std::unique_ptr<ktSceneFile> file = ktSceneFile::open(QString::fromStdString(scene), {}, report);
    if (!file)
        throw std::runtime_error(report.error);
    const std::vector<Part> parts = collect(file->getRoot());
    ktConformingRefiner refiner(1e-6 * ktMeasureWorldBounds(file->getRoot()).diagonal());
    for (const Part& part : parts)
        refiner.addMesh(part.positions, part.indices);
    splitLongest(refiner, vertices);
    for (Index mesh = 0; mesh < parts.size(); ++mesh)
        rebuild(parts[mesh], refiner, mesh);
    ktSaveOptions options;
    options.multiplyColors = false;
    if (!file->save(QString::fromStdString(output), options, report))
        throw std::runtime_error(report.error);
    return {refiner.vertices().size(), file->getUnit_mm()};
}
