// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktDirectionSet.h"
#include "ktRayPacket.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

/// One mesh. The arrays belong to the caller. They stay alive and unchanged until the next build() or
/// the end of the tracer.
struct ktTracerMesh {
    const float* positions = nullptr;       ///< x, y, z per vertex; all finite; 4 readable bytes follow the array
    const std::uint32_t* indices = nullptr; ///< three per triangle, counter-clockwise seen from the front
    std::uint32_t vertexCount = 0;
    std::uint32_t triangleCount = 0; ///< may be 0; triangles may be degenerate (they are never hit)
    /// Null: positions are in world space. Otherwise the mesh is an instance, for tracers that take instances. Its
    /// positions are in object space, and these are the three rows of its matrix. A world position is, for each row m,
    /// m[0] * x + m[1] * y + m[2] * z + m[3] in double precision, added from left to right, then rounded to float. The
    /// sum of the absolute values of these terms is below 1e18. Positions are zero or normal numbers. Instances of a
    /// part have the same arrays. Only build() reads it.
    const double (*toWorld)[4] = nullptr;
};

/// A direction set, prepared for one tracer: the set and the tables that the tracer derives from it.
/// Immutable; may be read from any thread. Refers to the set, which must outlive it.
class ktPreparedDirections {
public:
    explicit ktPreparedDirections(const ktDirectionSet& set_);
    virtual ~ktPreparedDirections() = default;
    ktPreparedDirections(const ktPreparedDirections&) = delete;
    ktPreparedDirections& operator=(const ktPreparedDirections&) = delete;

    const ktDirectionSet& set;
    const std::uint64_t number; ///< no other object of this process has or had it
};

/// A point that sends one ray along each direction of a set. If direction i is x, y, z, ray i goes from `origin` along
/// x * tangent + y * bitangent + z * normal.
struct ktRayVertex {
    float origin[3];                           ///< world space, already moved off the surface
    float tangent[3], bitangent[3], normal[3]; ///< orthonormal, right-handed; the azimuth differs from vertex to vertex
    const ktPreparedDirections* directions;    ///< from this tracer's prepareDirections()
};

/// A structure as plain memory, to copy it to a tracer of the same kind in another process of the same program.
struct ktStructureImage {
    struct Part {
        char* first;
        std::size_t size; ///< bytes
    };
    std::vector<char> head;  ///< what beginCopy() must know; empty if the tracer does not copy structures
    std::vector<Part> parts; ///< belong to the tracer; valid until the next build()
};

/// Receives the nearest hits of the rays of a vertex, one tile of directions at a time, in ascending order.
class ktHitReceiver {
public:
    virtual ~ktHitReceiver() = default;
    /// @param vertex index into the batch
    /// @param tile   tile of the vertex's direction set; lane i of the packet is ray 16 * tile + i
    virtual void hits(std::uint32_t vertex, std::uint32_t tile, const ktHitPacket& packet) = 0;
};

/// Finds what rays hit. One thread at a time calls build(); meanwhile only prepareDirections() may run. All other
/// functions are const. Many threads may call them at once, each with its own output.
/// Results depend only on the arguments. They do not depend on the thread, or on the division of vertices into
/// batches.
/// Workers set flush-to-zero and denormals-are-zero (ktFlushDenormals) when they trace.
class ktTracer {
public:
    /// Called from time to time, from any thread, with the fraction done (0 to 1); false stops the build.
    using Progress = std::function<bool(float)>;

    virtual ~ktTracer() = default;

    /// Replaces the acceleration structure. Uses the worker threads of the calling thread's arena.
    /// @return false if `progress` stopped it: the tracer is then empty (rays hit nothing)
    /// @throws std::exception if memory runs out or the library fails: the tracer is then empty
    virtual bool build(const std::vector<ktTracerMesh>& meshes, const Progress& progress) = 0;

    /// Whether meshes may be instances (ktTracerMesh::toWorld).
    virtual bool takesInstances() const { return false; }

    /// Whether the three functions below copy structures.
    virtual bool copiesStructures() const { return false; }
    /// The structure that was built last. The caller only reads it.
    virtual ktStructureImage structureImage() { return {}; }
    /// Replaces the acceleration structure by memory for a copy of another tracer's. The caller fills it and then calls
    /// endCopy(); no ray may be traced before.
    /// @param meshes equal to those that the structure was built for; only their sizes are read
    /// @param head   of the image of the other tracer
    /// @return the parts of the image, to be filled
    /// @throws std::exception if memory runs out or `head` is not of this kind of tracer: the tracer is then empty
    virtual std::vector<ktStructureImage::Part> beginCopy(const std::vector<ktTracerMesh>& meshes,
                                                          const std::vector<char>& head);
    virtual void endCopy() {}

    /// Prepares a direction set for this tracer. Works before, during and after build(). Stays valid after a build().
    virtual std::unique_ptr<ktPreparedDirections> prepareDirections(const ktDirectionSet& set) const;

    /// Counts, for each vertex, the rays that hit nothing within the limits.
    /// @param vertices, count the batch: neighbours in space; usually at most 64, any number is allowed
    /// @param visible         `count` elements, 0 to set.count each
    /// @param masks           null, or `count` pointers, each null or to set.wordCount() words: bit i % 64 of word
    ///                        i / 64 is set if ray i hits nothing; bits beyond set.count are 0
    virtual void countVisible(const ktRayVertex* vertices, std::uint32_t count, const ktRayLimits& limits,
                              std::uint32_t* visible, std::uint64_t* const* masks) const;

    /// Finds the nearest hit of every ray of each vertex. Reports every tile, even if no ray of it hits anything.
    virtual void findNearest(const ktRayVertex* vertices, std::uint32_t count, const ktRayLimits& limits,
                             ktHitReceiver& receiver) const;

    /// Finds which active rays of a packet hit something: bit i for ray i. For rays to lights.
    virtual std::uint32_t occluded(const ktRayPacket& rays, bool bothSides) const = 0;

    /// Finds the nearest hits of a packet's active rays.
    virtual void nearest(const ktRayPacket& rays, bool bothSides, ktHitPacket& hits) const = 0;
};
