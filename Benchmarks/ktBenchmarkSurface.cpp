// SPDX-License-Identifier: LGPL-2.1-or-later
// Reads a surface from an OBJ file or generates one with bumps and hollows, as input for benchmarks.
#include "ktBenchmarkSurface.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <OpenSG/OSGGeometry.h>
#include <sstream>
#include <stdexcept>

namespace {

constexpr float wantedDiagonal = 3000.0f; // world units; a bake scales scenes of unknown unit to this

// Joins vertices at equal positions, removes vertices without a triangle and adds normals.
void finish(ktBenchmarkSurface& mesh) {
    std::map<std::array<float, 3>, std::uint32_t> known;
    std::vector<float> positions;
    for (std::uint32_t& index : mesh.indices) {
        const float* p = &mesh.positions[3 * std::size_t(index)];
        const auto [entry, isNew] = known.try_emplace({p[0], p[1], p[2]}, known.size());
        if (isNew)
            positions.insert(positions.end(), p, p + 3);
        index = entry->second;
    }
    mesh.positions = std::move(positions);
    mesh.normals.assign(mesh.positions.size(), 0.0f);
    const float scale = wantedDiagonal / mesh.diagonal();
    for (float& value : mesh.positions)
        value *= scale;
    for (std::size_t t = 0; t + 2 < mesh.indices.size(); t += 3) {
        const float* corners[3];
        for (std::size_t i = 0; i < 3; ++i)
            corners[i] = &mesh.positions[3 * std::size_t(mesh.indices[t + i])];
        double a[3], b[3];
        for (int axis = 0; axis < 3; ++axis) {
            a[axis] = double(corners[1][axis]) - corners[0][axis];
            b[axis] = double(corners[2][axis]) - corners[0][axis];
        }
        const double normal[3] = {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
        for (std::size_t i = 0; i < 3; ++i)
            for (std::size_t axis = 0; axis < 3; ++axis)
                mesh.normals[3 * std::size_t(mesh.indices[t + i]) + axis] += static_cast<float>(normal[axis]);
    }
    for (std::size_t v = 0; v < mesh.normals.size(); v += 3) {
        float* n = &mesh.normals[v];
        const float length = std::sqrt(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]);
        if (length > 0.0f)
            for (int axis = 0; axis < 3; ++axis)
                n[axis] /= length;
        else
            n[2] = 1.0f;
    }
    mesh.positions.reserve(mesh.positions.size() + 1);
}

} // namespace

float ktBenchmarkSurface::diagonal() const {
    double square = 0;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        float low = positions[axis], high = positions[axis];
        for (std::size_t i = axis; i < positions.size(); i += 3) {
            low = std::min(low, positions[i]);
            high = std::max(high, positions[i]);
        }
        square += (double(high) - low) * (double(high) - low);
    }
    return static_cast<float>(std::sqrt(square));
}

osg::NodePtr ktBenchmarkSurface::makeNode() const {
    const osg::GeometryPtr geometry = osg::Geometry::create();
    const osg::GeoPTypesUI8Ptr types = osg::GeoPTypesUI8::create();
    const osg::GeoPLengthsUI32Ptr lengths = osg::GeoPLengthsUI32::create();
    const osg::GeoIndicesUI32Ptr geometryIndices = osg::GeoIndicesUI32::create();
    const osg::GeoPositions3fPtr geometryPositions = osg::GeoPositions3f::create();
    const osg::GeoNormals3fPtr geometryNormals = osg::GeoNormals3f::create();
    types->push_back(GL_TRIANGLES);
    lengths->push_back(static_cast<osg::UInt32>(indices.size()));
    for (std::uint32_t index : indices)
        geometryIndices->push_back(index);
    for (std::size_t i = 0; i < normals.size(); i += 3) {
        geometryPositions->push_back(osg::Pnt3f(positions[i], positions[i + 1], positions[i + 2]));
        geometryNormals->push_back(osg::Vec3f(normals[i], normals[i + 1], normals[i + 2]));
    }
    beginEditCP(geometry);
    geometry->setTypes(types);
    geometry->setLengths(lengths);
    geometry->setIndices(geometryIndices);
    geometry->setPositions(geometryPositions);
    geometry->setNormals(geometryNormals);
    endEditCP(geometry);
    const osg::NodePtr node = osg::Node::create();
    beginEditCP(node);
    node->setCore(geometry);
    endEditCP(node);
    return node;
}

ktBenchmarkSurface ktReadBenchmarkSurface(const std::string& path) {
    std::ifstream file(path);
    if (!file)
        throw std::runtime_error("cannot read " + path);
    ktBenchmarkSurface mesh;
    mesh.name = path.substr(path.rfind('/') + 1);
    std::string line;
    while (std::getline(file, line)) {
        std::istringstream words(line);
        std::string kind;
        words >> kind;
        if (kind == "v") {
            float p[3] = {0, 0, 0};
            words >> p[0] >> p[1] >> p[2];
            mesh.positions.insert(mesh.positions.end(), p, p + 3);
        } else if (kind == "f") {
            std::vector<std::uint32_t> corners;
            for (std::string corner; words >> corner;) {
                const long index = std::strtol(corner.c_str(), nullptr, 10);
                const long count = static_cast<long>(mesh.positions.size() / 3);
                if (index < 1 || index > count)
                    throw std::runtime_error(path + ": a face names a vertex that does not exist");
                corners.push_back(static_cast<std::uint32_t>(index - 1));
            }
            for (std::size_t i = 2; i < corners.size(); ++i)
                mesh.indices.insert(mesh.indices.end(), {corners[0], corners[i - 1], corners[i]});
        }
    }
    if (mesh.indices.empty())
        throw std::runtime_error(path + " holds no triangle");
    finish(mesh);
    return mesh;
}

ktBenchmarkSurface ktMakeBenchmarkSurface(std::uint32_t rings, std::uint32_t segments) {
    ktBenchmarkSurface mesh;
    mesh.name = "generated surface";
    const double pi = 3.14159265358979;
    for (std::uint32_t ring = 0; ring <= rings; ++ring) {
        for (std::uint32_t segment = 0; segment < segments; ++segment) {
            const double polar = pi * ring / rings, azimuth = 2 * pi * segment / segments;
            const double radius = 1 + 0.15 * std::sin(9 * polar) * std::sin(11 * azimuth) +
                                  0.03 * std::sin(41 * polar) * std::cos(37 * azimuth) * std::sin(polar);
            const double away = ring % rings == 0 ? 0 : radius * std::sin(polar); // one point at each pole
            mesh.positions.push_back(static_cast<float>(away * std::cos(azimuth)));
            mesh.positions.push_back(static_cast<float>(away * std::sin(azimuth)));
            mesh.positions.push_back(static_cast<float>((ring % rings == 0 ? 1 : radius) * std::cos(polar)));
        }
    }
    for (std::uint32_t ring = 0; ring < rings; ++ring) {
        for (std::uint32_t segment = 0; segment < segments; ++segment) {
            const std::uint32_t next = (segment + 1) % segments;
            const std::uint32_t a = ring * segments + segment, b = a + segments, c = (ring + 1) * segments + next,
                                d = ring * segments + next;
            if (ring + 1 < rings)
                mesh.indices.insert(mesh.indices.end(), {a, b, c});
            if (ring > 0)
                mesh.indices.insert(mesh.indices.end(), {a, c, d});
        }
    }
    finish(mesh);
    return mesh;
}

ktBenchmarkSurface ktChooseBenchmarkSurface(const std::string& argument) {
    if (!argument.empty())
        return ktReadBenchmarkSurface(argument);
    if (const char* path = std::getenv("KT_BENCHMARK_MESH"))
        return ktReadBenchmarkSurface(path);
    return ktMakeBenchmarkSurface(186, 188);
}
