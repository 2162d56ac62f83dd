// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktTracer.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <vector>

/// A triangle mesh for tests, with shapes of known occlusion.
struct ktTestMesh {
    std::vector<float> positions; ///< x, y, z; view() reserves one more float at the end
    std::vector<std::uint32_t> indices;

    std::uint32_t addVertex(double x, double y, double z) {
        for (double value : {x, y, z})
            positions.push_back(static_cast<float>(value));
        return static_cast<std::uint32_t>(positions.size() / 3 - 1);
    }

    void addTriangle(std::uint32_t a, std::uint32_t b, std::uint32_t c) { indices.insert(indices.end(), {a, b, c}); }

    /// A parallelogram from `corner` along `a` and `b`; its front faces along a x b.
    void addQuad(std::array<double, 3> corner, std::array<double, 3> a, std::array<double, 3> b) {
        const auto at = [&](double s, double t) {
            return addVertex(corner[0] + s * a[0] + t * b[0], corner[1] + s * a[1] + t * b[1],
                             corner[2] + s * a[2] + t * b[2]);
        };
        const std::uint32_t p = at(0, 0), q = at(1, 0), r = at(1, 1), s = at(0, 1);
        addTriangle(p, q, r);
        addTriangle(p, r, s);
    }

    /// Two triangles in each cell of a square grid, whose vertices are the first ones of the mesh, row by row.
    void addGridTriangles(int cells) {
        const auto stride = static_cast<std::uint32_t>(cells + 1);
        for (std::uint32_t row = 0; row + 1 < stride; ++row)
            for (std::uint32_t column = 0; column + 1 < stride; ++column) {
                const std::uint32_t p = row * stride + column;
                addTriangle(p, p + 1, p + stride + 1);
                addTriangle(p, p + stride + 1, p + stride);
            }
    }

    /// A disc of the given radius at height z, facing down (front towards -z).
    void addDisc(double radius, double z, int segments) {
        const std::uint32_t centre = addVertex(0, 0, z);
        std::vector<std::uint32_t> rim;
        for (int i = 0; i < segments; ++i) {
            const double angle = 2 * M_PI * i / segments;
            rim.push_back(addVertex(radius * std::cos(angle), radius * std::sin(angle), z));
        }
        for (int i = 0; i < segments; ++i)
            addTriangle(centre, rim[static_cast<std::size_t>((i + 1) % segments)], rim[static_cast<std::size_t>(i)]);
    }

    /// A closed sphere around the origin, facing outwards.
    void addSphere(double radius, int rings, int segments) {
        const auto at = [&](int ring, int segment) {
            const double polar = M_PI * ring / rings, azimuth = 2 * M_PI * (segment % segments) / segments;
            return addVertex(radius * std::sin(polar) * std::cos(azimuth), radius * std::sin(polar) * std::sin(azimuth),
                             radius * std::cos(polar));
        };
        for (int ring = 0; ring < rings; ++ring) {
            for (int segment = 0; segment < segments; ++segment) {
                const std::uint32_t a = at(ring, segment), b = at(ring + 1, segment), c = at(ring + 1, segment + 1),
                                    d = at(ring, segment + 1);
                if (ring + 1 < rings)
                    addTriangle(a, b, c);
                if (ring > 0)
                    addTriangle(a, c, d);
            }
        }
    }

    /// For ktTracer::build(); valid until the mesh changes.
    ktTracerMesh view() {
        positions.reserve(positions.size() + 1); // four readable bytes after the last position
        ktTracerMesh mesh;
        mesh.positions = positions.data();
        mesh.indices = indices.data();
        mesh.vertexCount = static_cast<std::uint32_t>(positions.size() / 3);
        mesh.triangleCount = static_cast<std::uint32_t>(indices.size() / 3);
        return mesh;
    }
};
