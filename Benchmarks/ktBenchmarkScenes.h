// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// One mesh of a benchmark scene in world space, with a unit normal for every vertex.
struct ktBenchmarkMesh {
    std::vector<float> positions; ///< x, y, z per vertex, and one float of padding at the end
    std::vector<float> normals;   ///< x, y, z per vertex
    std::vector<std::uint32_t> indices;
    bool writesNormals = true; ///< false: a file of this mesh has no normals
    std::uint32_t vertexCount() const { return static_cast<std::uint32_t>(normals.size() / 3); }
    std::uint32_t triangleCount() const { return static_cast<std::uint32_t>(indices.size() / 3); }
};

struct ktBenchmarkScene {
    std::string name;
    std::vector<ktBenchmarkMesh> meshes;
    std::size_t triangleCount() const;
    std::size_t vertexCount() const;
    float diagonal() const;
};

/// Reads a scene file and copies all instances. Vertices without a normal get a smooth one.
/// @throws std::runtime_error with the file's name if it cannot be read
ktBenchmarkScene ktLoadBenchmarkScene(const std::string& name, const std::string& path);

/// An assembly of bolts, tubes, gears, balls and plates in a housing, with about the given number of triangles. It is
/// the same on every machine.
ktBenchmarkScene ktMakeAssembly(std::size_t triangles);
