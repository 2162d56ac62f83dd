// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstdint>
#include <vector>

/// Sixteen neighbouring unit vectors of the hemisphere, in the local frame (z along the normal): one ray packet.
struct alignas(64) ktDirectionTile {
    static constexpr std::uint32_t width = 16;
    float x[width];
    float y[width];
    float z[width];
};

/// Cosine-weighted directions over the upper hemisphere of a local frame: every ray has the same weight.
/// Immutable once filled; may be read from any thread.
struct ktDirectionSet {
    /// Number of directions; at least 1. Ray i is lane i % 16 of tile i / 16.
    std::uint32_t count = 0;
    /// (count + 15) / 16 tiles. Lanes beyond `count` repeat the last direction and must not be counted.
    std::vector<ktDirectionTile> tiles;

    std::uint32_t tileCount() const { return static_cast<std::uint32_t>(tiles.size()); }
    /// Bit i: lane i of this tile is a ray, not a repetition.
    std::uint32_t laneMask(std::uint32_t tile) const {
        const std::uint32_t first = tile * ktDirectionTile::width;
        const std::uint32_t left = count > first ? count - first : 0;
        return left >= ktDirectionTile::width ? 0xFFFFu : (1u << left) - 1u;
    }
    /// Number of 64-bit words that hold one bit per ray.
    std::uint32_t wordCount() const { return (count + 63) / 64; }
};
