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

/// Reads a scene file with all instances written out; vertices without a normal get a smooth one.
/// @throws std::runtime_error naming the file when it cannot be read
ktBenchmarkScene ktLoadBenchmarkScene(const std::string& name, const std::string& path);

/// An assembly of bolts, tubes, gears, balls and plates packed into a frame, about as many triangles as asked for;
/// the same on every machine.
ktBenchmarkScene ktMakeAssembly(std::size_t triangles);
