// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstdint>
#include <OpenSG/OSGNode.h>
#include <string>
#include <vector>

/// A surface to measure on: every vertex belongs to a triangle and has a unit normal, no two are equal.
struct ktBenchmarkSurface {
    std::string name;
    std::vector<float> positions, normals; ///< three floats a vertex; one spare float behind the positions
    std::vector<std::uint32_t> indices;    ///< three a triangle

    std::uint32_t vertexCount() const { return static_cast<std::uint32_t>(normals.size() / 3); }
    std::uint32_t triangleCount() const { return static_cast<std::uint32_t>(indices.size() / 3); }
    float diagonal() const;
    /// A geometry node with this surface. @return a node without a parent
    osg::NodePtr makeNode() const;
};

/// Reads the vertices and triangles of a Wavefront OBJ file (other lines are passed over), scales the surface to a
/// diagonal of 3,000 units and gives it smooth normals.
/// @throws std::runtime_error when the file cannot be read or holds no triangle
ktBenchmarkSurface ktReadBenchmarkSurface(const std::string& path);
/// A closed surface full of bumps and hollows, 3,000 units across. @param rings, segments at least 3
ktBenchmarkSurface ktMakeBenchmarkSurface(std::uint32_t rings, std::uint32_t segments);
/// The file that the argument names, else that of the environment variable KT_BENCHMARK_MESH, else a generated surface.
ktBenchmarkSurface ktChooseBenchmarkSurface(const std::string& argument);
