// SPDX-License-Identifier: LGPL-2.1-or-later
// Calculates a number that tells whether two processes find the same bits.
#include "ktRankFingerprint.h"

#include "ktFlushDenormals.h"
#include "ktHemisphereSampler.h"
#include "ktRandom.h"
#include "ktVertexFrames.h"

#include <cfloat>
#include <cmath>
#include <cstring>

namespace {

class Hash : public ktHitReceiver {
public:
    template <class T>
    void add(T value) {
        std::uint64_t bits = 0;
        std::memcpy(&bits, &value, sizeof value);
        number = ktRandom::combine(number, bits);
    }
    void hits(std::uint32_t, std::uint32_t, const ktHitPacket& packet) override {
        for (std::uint32_t i = 0; i < ktHitPacket::width; ++i)
            if (packet.mesh[i] != ktHitPacket::noMesh) {
                add(packet.triangle[i]);
                add(packet.u[i]);
                add(packet.v[i]);
                add(packet.distance[i]);
            }
    }

    std::uint64_t number = 1;
};

// Numbers from 0 to 1 that are the same everywhere.
class Numbers {
public:
    float next() { return static_cast<float>(ktRandom::mix(++state) >> 40) * (1.0f / (1 << 24)); }

private:
    std::uint64_t state = 0x6B7452616E6B73ull;
};

void addLibrary(Hash& hash) {
    Numbers numbers;
    for (int i = 0; i < 4096; ++i) {
        const float x = numbers.next();
        hash.add(std::cos(6.28318531f * x));
        hash.add(std::sin(6.28318531f * x));
        hash.add(std::cos(double(6.28318531f * x)));
        hash.add(std::sin(double(6.28318531f * x)));
        hash.add(std::pow(double(x), double(20 * numbers.next())));
        hash.add(std::pow(x, 2.4f));
    }
}

void addRays(Hash& hash, ktTracer& tracer) {
    constexpr std::uint32_t triangles = 500;
    Numbers numbers;
    std::vector<float> positions;
    std::vector<std::uint32_t> indices;
    for (std::uint32_t i = 0; i < 3 * triangles; ++i) {
        if (i % 3 == 0)
            for (int c = 0; c < 3; ++c)
                positions.push_back(1000 * numbers.next());
        else
            for (int c = 0; c < 3; ++c)
                positions.push_back(positions[9 * std::size_t(i / 3) + static_cast<std::size_t>(c)] +
                                    100 * numbers.next() - 50);
        indices.push_back(i);
    }
    positions.push_back(0);
    ktTracerMesh mesh;
    mesh.positions = positions.data();
    mesh.indices = indices.data();
    mesh.vertexCount = 3 * triangles;
    mesh.triangleCount = triangles;
    tracer.build({mesh}, {});
    const ktDirectionSet set = ktMakeHemisphereDirections(16, 16, 0.25f, 0.25f, 1);
    const std::unique_ptr<ktPreparedDirections> directions = tracer.prepareDirections(set);
    const ktWorldTransform toWorld;
    const ktVertexFrames frames(toWorld, directions.get(), 1000);
    const ktFlushDenormals fast;
    for (int i = 0; i < 32; ++i) {
        const float position[3] = {1000 * numbers.next(), 1000 * numbers.next(), 1000 * numbers.next()};
        const float normal[3] = {numbers.next() - 0.5f, numbers.next() - 0.5f, numbers.next() - 0.4f};
        ktRayVertex vertex;
        if (!frames.make(position, normal, ktOneRing(), vertex))
            continue;
        const ktRayLimits limits = {1e-3f, FLT_MAX, true};
        std::uint32_t visible = 0;
        tracer.countVisible(&vertex, 1, limits, &visible, nullptr);
        hash.add(visible);
        tracer.findNearest(&vertex, 1, limits, hash);
    }
    tracer.build({}, {}); // the arrays end here
}

} // namespace

std::uint64_t ktCalculateFingerprint(ktTracer& tracer) {
    Hash hash;
    addLibrary(hash);
    addRays(hash, tracer);
    return hash.number;
}
