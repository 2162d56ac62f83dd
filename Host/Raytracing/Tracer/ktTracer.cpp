// SPDX-License-Identifier: LGPL-2.1-or-later
// Provides the default visibility and nearest-hit queries of tracers, packet by packet.
#include "ktTracer.h"

#include <atomic>
#include <stdexcept>

namespace {

std::atomic<std::uint64_t> lastDirections{0};

// Makes the rays of one tile of a vertex, in world space.
void fillPacket(const ktRayVertex& vertex, std::uint32_t tileIndex, const ktRayLimits& limits, ktRayPacket& packet) {
    const ktDirectionSet& set = vertex.directions->set;
    const ktDirectionTile& tile = set.tiles[tileIndex];
    const float *t = vertex.tangent, *b = vertex.bitangent, *n = vertex.normal;
    for (std::uint32_t i = 0; i < ktRayPacket::width; ++i) {
        packet.originX[i] = vertex.origin[0];
        packet.originY[i] = vertex.origin[1];
        packet.originZ[i] = vertex.origin[2];
        packet.directionX[i] = tile.x[i] * t[0] + tile.y[i] * b[0] + tile.z[i] * n[0];
        packet.directionY[i] = tile.x[i] * t[1] + tile.y[i] * b[1] + tile.z[i] * n[1];
        packet.directionZ[i] = tile.x[i] * t[2] + tile.y[i] * b[2] + tile.z[i] * n[2];
        packet.minDistance[i] = limits.minDistance;
        packet.maxDistance[i] = limits.maxDistance;
    }
    packet.active = set.laneMask(tileIndex);
}

} // namespace

ktPreparedDirections::ktPreparedDirections(const ktDirectionSet& set_) : set(set_), number(++lastDirections) {}

std::unique_ptr<ktPreparedDirections> ktTracer::prepareDirections(const ktDirectionSet& set) const {
    return std::make_unique<ktPreparedDirections>(set);
}

void ktTracer::countVisible(const ktRayVertex* vertices, std::uint32_t count, const ktRayLimits& limits,
                            std::uint32_t* visible, std::uint64_t* const* masks) const {
    ktRayPacket packet;
    for (std::uint32_t v = 0; v < count; ++v) {
        const ktDirectionSet& set = vertices[v].directions->set;
        std::uint64_t* mask = masks ? masks[v] : nullptr;
        for (std::uint32_t word = 0; mask && word < set.wordCount(); ++word)
            mask[word] = 0;
        visible[v] = 0;
        for (std::uint32_t tile = 0; tile < set.tileCount(); ++tile) {
            fillPacket(vertices[v], tile, limits, packet);
            const std::uint32_t open = packet.active & ~occluded(packet, limits.bothSides);
            visible[v] += static_cast<std::uint32_t>(__builtin_popcount(open));
            if (mask)
                mask[tile / 4] |= static_cast<std::uint64_t>(open) << (tile % 4 * 16);
        }
    }
}

void ktTracer::findNearest(const ktRayVertex* vertices, std::uint32_t count, const ktRayLimits& limits,
                           ktHitReceiver& receiver) const {
    ktRayPacket packet;
    ktHitPacket hits;
    for (std::uint32_t v = 0; v < count; ++v) {
        for (std::uint32_t tile = 0; tile < vertices[v].directions->set.tileCount(); ++tile) {
            fillPacket(vertices[v], tile, limits, packet);
            nearest(packet, limits.bothSides, hits);
            receiver.hits(v, tile, hits);
        }
    }
}

std::vector<ktStructureImage::Part> ktTracer::beginCopy(const std::vector<ktTracerMesh>&, const std::vector<char>&) {
    throw std::logic_error("this tracer does not copy structures");
}
