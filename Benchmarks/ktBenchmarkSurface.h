// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstdint>
#include <OpenSG/OSGNode.h>
#include <string>
#include <vector>

/// A surface for benchmarks. Every vertex belongs to a triangle and has a unit normal; no two vertices are equal.
struct ktBenchmarkSurface {
    std::string name;
    std::vector<float> positions, normals; ///< three floats per vertex; one more float after the positions
    std::vector<std::uint32_t> indices;    ///< three per triangle

    std::uint32_t vertexCount() const { return static_cast<std::uint32_t>(normals.size() / 3); }
    std::uint32_t triangleCount() const { return static_cast<std::uint32_t>(indices.size() / 3); }
    float diagonal() const;
    /// A geometry node with this surface. @return a node without a parent
    osg::NodePtr makeNode() const;
};

/// Reads the vertices and triangles of a Wavefront OBJ file and ignores other lines. Scales the surface to a diagonal
/// of 3,000 units and adds smooth normals.
/// @throws std::runtime_error if the file cannot be read or has no triangle
ktBenchmarkSurface ktReadBenchmarkSurface(const std::string& path);
/// A closed surface with many bumps and hollows and a diagonal of 3,000 units. @param rings, segments at least 3
ktBenchmarkSurface ktMakeBenchmarkSurface(std::uint32_t rings, std::uint32_t segments);
/// The file of the argument, or else of the environment variable KT_BENCHMARK_MESH, or else a generated surface.
ktBenchmarkSurface ktChooseBenchmarkSurface(const std::string& argument);
