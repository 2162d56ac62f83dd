// SPDX-License-Identifier: LGPL-2.1-or-later
// Lists ways to place hemisphere samples (jittered, Sobol; polar, concentric) for the sampling benchmark.
#include "ktSampleCandidates.h"

#include "ktHemisphereMap.h"
#include "ktHemisphereSampler.h"
#include "ktRandom.h"

#include <algorithm>
#include <cmath>

namespace {

struct Point {
    double u, v;
};
using Points = std::vector<Point>;

// Maps a square to the hemisphere without distortion at the pole (P. Shirley, K. Chiu, "A Low Distortion Map Between
// Disk and Square", 1997).
void concentric(const Point& p, float* direction) {
    const double quarter = 0.7853981633974483, a = 2 * p.u - 1, b = 2 * p.v - 1;
    double radius = 0, angle = 0;
    if (std::fabs(a) > std::fabs(b)) {
        radius = a;
        angle = quarter * b / a;
    } else if (b != 0) {
        radius = b;
        angle = 2 * quarter - quarter * a / b;
    }
    direction[0] = static_cast<float>(radius * std::cos(angle));
    direction[1] = static_cast<float>(radius * std::sin(angle));
    direction[2] = static_cast<float>(std::sqrt(std::max(0.0, 1 - radius * radius)));
}

ktDirectionSet toDirections(const Points& points, bool isPolar) {
    ktDirectionSet set;
    set.count = static_cast<std::uint32_t>(points.size());
    set.tiles.resize((points.size() + ktDirectionTile::width - 1) / ktDirectionTile::width);
    for (std::size_t i = 0; i < set.tiles.size() * ktDirectionTile::width; ++i) {
        const Point& p = points[std::min(i, points.size() - 1)];
        float direction[3];
        if (isPolar)
            ktHemisphereMap::toDirection(p.u, p.v, direction);
        else
            concentric(p, direction);
        ktDirectionTile& tile = set.tiles[i / ktDirectionTile::width];
        tile.x[i % ktDirectionTile::width] = direction[0];
        tile.y[i % ktDirectionTile::width] = direction[1];
        tile.z[i % ktDirectionTile::width] = direction[2];
    }
    return set;
}

// One point per stratum, moved at random by this share of the stratum.
Points jittered(std::uint32_t count, std::uint64_t seed, double jitter) {
    ktRandom random(seed);
    Points points;
    for (std::uint32_t i = 0; i < count; ++i)
        for (std::uint32_t j = 0; j < count; ++j) {
            const double u = 0.5 + jitter * (random.nextUniform() - 0.5),
                         v = 0.5 + jitter * (random.nextUniform() - 0.5);
            points.push_back({(i + u) / count, (j + v) / count});
        }
    return points;
}

std::uint32_t reversed(std::uint32_t x) {
    std::uint32_t result = 0;
    for (int bit = 0; bit < 32; ++bit, x >>= 1)
        result = result << 1 | (x & 1u);
    return result;
}

// Owen's scrambling: each bit flips by a hash of the bits above it (A. B. Owen, "Randomly Permuted (t,m,s)-Nets and
// (t,s)-Sequences", 1995).
std::uint32_t scrambled(std::uint32_t x, std::uint64_t seed) {
    std::uint32_t result = 0;
    for (int bit = 31; bit >= 0; --bit) {
        const std::uint64_t above = bit == 31 ? 0 : x >> (bit + 1);
        const std::uint64_t flip = ktRandom::mix(seed + (above << 6) + static_cast<std::uint64_t>(bit) + 1) & 1u;
        result |= ((x >> bit & 1u) ^ static_cast<std::uint32_t>(flip)) << bit;
    }
    return result;
}

// The first two dimensions of Sobol's sequence, scrambled.
Points sobol(std::uint32_t count, std::uint64_t seed) {
    Points points;
    for (std::uint32_t i = 0; i < count * count; ++i) {
        std::uint32_t second = 0;
        for (std::uint32_t rest = i, direction = 1u << 31; rest != 0; rest >>= 1, direction ^= direction >> 1)
            if (rest & 1u)
                second ^= direction;
        points.push_back(
            {scrambled(reversed(i), 2 * seed) / 4294967296.0, scrambled(second, 2 * seed + 1) / 4294967296.0});
    }
    return points;
}

Points ownPoints(std::uint32_t count, std::uint64_t seed) {
    Points points;
    const ktDirectionSet set = ktMakeHemisphereDirections(count, count, 0.25f, 0.25f, seed);
    for (std::uint32_t i = 0; i < set.count; ++i) {
        const ktDirectionTile& tile = set.tiles[i / ktDirectionTile::width];
        const std::uint32_t lane = i % ktDirectionTile::width;
        const float direction[3] = {tile.x[lane], tile.y[lane], tile.z[lane]};
        Point point{};
        ktHemisphereMap::toSquare(direction, point.u, point.v);
        points.push_back(point);
    }
    return points;
}

} // namespace

std::vector<ktSampleCandidate> ktSampleCandidates() {
    return {
        {"correlated multi-jitter, polar (in use)",
         [](auto count, auto seed) { return ktMakeHemisphereDirections(count, count, 0.25f, 0.25f, seed); }},
        {"correlated multi-jitter, concentric",
         [](auto count, auto seed) { return toDirections(ownPoints(count, seed), false); }},
        {"Sobol with Owen's scrambling, polar",
         [](auto count, auto seed) { return toDirections(sobol(count, seed), true); }},
        {"Sobol with Owen's scrambling, concentric",
         [](auto count, auto seed) { return toDirections(sobol(count, seed), false); }},
        {"centres of strata, polar",
         [](auto count, auto seed) { return toDirections(jittered(count, seed, 0.0), true); }},
        {"strata, jitter of a quarter, polar",
         [](auto count, auto seed) { return toDirections(jittered(count, seed, 0.25), true); }},
        {"strata, full jitter, polar",
         [](auto count, auto seed) { return toDirections(jittered(count, seed, 1.0), true); }},
        {"strata, jitter of a quarter, concentric",
         [](auto count, auto seed) { return toDirections(jittered(count, seed, 0.25), false); }},
        {"strata, full jitter, concentric",
         [](auto count, auto seed) { return toDirections(jittered(count, seed, 1.0), false); }},
    };
}
