// SPDX-License-Identifier: LGPL-2.1-or-later
// Makes each vertex's ray origin, offset against self-intersection, and the frame of its ray directions.
#include "ktVertexFrames.h"

#include "ktRandom.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

constexpr float positionShare = 1.0f / (1 << 19); // sixteen times the spacing of floats, for positions
constexpr float sceneShare = 1.0f / (1 << 20);    // the same for triangles of half the scene's size

std::uint64_t hashOf(const float* position, const float* normal) {
    std::uint64_t hash = 0;
    for (const float* values : {position, normal}) {
        for (int i = 0; i < 3; ++i) {
            std::uint32_t bits = 0;
            std::memcpy(&bits, values + i, sizeof(bits));
            if (bits == 0x80000000u) // negative zero is zero
                bits = 0;
            hash = ktRandom::combine(hash, bits);
        }
    }
    return hash;
}

// Two unit vectors perpendicular to the normal (T. Duff et al., "Building an Orthonormal Basis, Revisited", 2017).
void makeTangents(const float* n, float* tangent, float* bitangent) {
    const float sign = std::copysign(1.0f, n[2]);
    const float a = -1.0f / (sign + n[2]), b = n[0] * n[1] * a;
    const float t[3] = {1.0f + sign * n[0] * n[0] * a, sign * b, -sign * n[0]};
    const float s[3] = {b, sign + n[1] * n[1] * a, -n[1]};
    std::copy(t, t + 3, tangent);
    std::copy(s, s + 3, bitangent);
}

// The direction along the own surface, away from its border: a unit vector in world space. Zero if there is none.
void makeInward(const ktWorldTransform& toWorld, const ktOneRing& oneRing, const float* objectNormal,
                const float* normal, float* unit) {
    float way[3], direction[3];
    std::fill(unit, unit + 3, 0.0f);
    if (oneRing.count == 0.0f || !oneRing.findInward(objectNormal, way))
        return;
    toWorld.direction(way, direction);
    double along = 0.0, square = 0.0, across[3];
    for (int i = 0; i < 3; ++i)
        along += double(direction[i]) * normal[i];
    for (int i = 0; i < 3; ++i) {
        across[i] = direction[i] - along * normal[i];
        square += across[i] * across[i];
    }
    if (!(square > 1.0e-60) || !std::isfinite(square))
        return;
    for (int i = 0; i < 3; ++i)
        unit[i] = static_cast<float>(across[i] / std::sqrt(square));
}

} // namespace

float ktVertexFrames::minHitDistance(float sceneSize) {
    return 0.5f * sceneShare * sceneSize;
}

bool ktVertexFrames::make(const float* position, const float* normal, const ktOneRing& oneRing,
                          ktRayVertex& vertex) const {
    float point[3];
    toWorld.position(position, point);
    const float largest = 1.0e18f; // the limit of all tracers
    for (float value : point)
        if (!(std::fabs(value) <= largest))
            return false;
    if (!toWorld.normal(normal, vertex.normal))
        return false;

    float along[3], tangent[3], bitangent[3];
    makeInward(toWorld, oneRing, normal, vertex.normal, along);
    makeTangents(vertex.normal, tangent, bitangent);
    const float offset = toWorld.magnitude(position) * positionShare + sceneSize * sceneShare;
    const float turn = 6.28318531f;
    const float azimuth = static_cast<float>(hashOf(position, normal) >> 40) * (turn / (1 << 24));
    const float cosine = std::cos(azimuth), sine = std::sin(azimuth);
    for (int i = 0; i < 3; ++i) {
        vertex.origin[i] = point[i] + offset * (vertex.normal[i] + along[i]);
        vertex.tangent[i] = cosine * tangent[i] + sine * bitangent[i];
        vertex.bitangent[i] = cosine * bitangent[i] - sine * tangent[i];
    }
    vertex.directions = directions;
    return true;
}
