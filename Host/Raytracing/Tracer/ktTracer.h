// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktDirectionSet.h"
#include "ktRayPacket.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

/// One mesh in world space. The arrays belong to the caller and stay alive and unchanged until the next build() or
/// the tracer's end.
struct ktTracerMesh {
    const float* positions = nullptr;       ///< x, y, z per vertex; all finite; 4 readable bytes follow the last
    const std::uint32_t* indices = nullptr; ///< three per triangle, counter-clockwise seen from the front
    std::uint32_t vertexCount = 0;
    std::uint32_t triangleCount = 0; ///< may be 0; triangles may be degenerate (they are never hit)
};

/// A direction set as one tracer wants it: the set itself and whatever tables the tracer derives from it.
/// Immutable; may be read from any thread. Refers to the set, which must outlive it.
class ktPreparedDirections {
public:
    explicit ktPreparedDirections(const ktDirectionSet& set_) : set(set_) {}
    virtual ~ktPreparedDirections() = default;
    ktPreparedDirections(const ktPreparedDirections&) = delete;
    ktPreparedDirections& operator=(const ktPreparedDirections&) = delete;

    const ktDirectionSet& set;
};

/// A point that sends one ray along each direction of a set. Ray i goes from `origin` along
/// x * tangent + y * bitangent + z * normal, where x, y, z is direction i.
struct ktRayVertex {
    float origin[3];                           ///< world space, already moved off the surface
    float tangent[3], bitangent[3], normal[3]; ///< orthonormal, right-handed; the azimuth differs from vertex to vertex
    const ktPreparedDirections* directions;    ///< from this tracer's prepareDirections()
};

/// Takes the nearest hits of a vertex's rays, one tile of directions at a time, tiles in ascending order.
class ktHitReceiver {
public:
    virtual ~ktHitReceiver() = default;
    /// @param vertex index into the batch
    /// @param tile   tile of the vertex's direction set; lane i of the packet is ray 16 * tile + i
    virtual void hits(std::uint32_t vertex, std::uint32_t tile, const ktHitPacket& packet) = 0;
};

/// Something that finds what rays meet. build() is called from one thread at a time, with nothing else under way but
/// prepareDirections(); all other functions are const and may be called from many threads at once, each with its own
/// output. Results
/// depend on the arguments alone, never on the thread or on how vertices are grouped into batches.
/// Workers have flush-to-zero and denormals-are-zero set (ktFlushDenormals) when they trace.
class ktTracer {
public:
    /// Called now and then, from any thread, with the share done (0 to 1); false stops the build.
    using Progress = std::function<bool(float)>;

    virtual ~ktTracer() = default;

    /// Builds the structure anew. Uses the worker threads of the calling thread's arena.
    /// @return false when `progress` stopped it: the tracer is then empty (nothing is hit)
    /// @throws std::exception when memory runs out or the library fails: the tracer is then empty
    virtual bool build(const std::vector<ktTracerMesh>& meshes, const Progress& progress) = 0;

    /// Makes a direction set ready for this tracer; works before, during and after build() and stays valid over builds.
    virtual std::unique_ptr<ktPreparedDirections> prepareDirections(const ktDirectionSet& set) const;

    /// How many rays of each vertex meet nothing within the limits.
    /// @param vertices, count the batch: neighbours in space, 64 or fewer as a rule, any number allowed
    /// @param visible         `count` elements, 0 to set.count each
    /// @param masks           null, or `count` pointers, each null or to set.wordCount() words: bit i % 64 of word
    ///                        i / 64 is set when ray i meets nothing; bits beyond set.count are 0
    virtual void countVisible(const ktRayVertex* vertices, std::uint32_t count, const ktRayLimits& limits,
                              std::uint32_t* visible, std::uint64_t* const* masks) const;

    /// The nearest hit of every ray of each vertex; every tile is reported, also one that hits nothing.
    virtual void findNearest(const ktRayVertex* vertices, std::uint32_t count, const ktRayLimits& limits,
                             ktHitReceiver& receiver) const;

    /// Which active rays of a packet meet something: bit i for ray i. For rays to lights.
    virtual std::uint32_t occluded(const ktRayPacket& rays, bool bothSides) const = 0;

    /// The nearest hits of a packet's active rays.
    virtual void nearest(const ktRayPacket& rays, bool bothSides, ktHitPacket& hits) const = 0;
};
