// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktTracer.h"
#include "ktTwoLevelBvh.h"
#include "ktWideBvh.h"

struct ktHemisphereKernel;
struct ktKernelFunctions;

/// Traces all rays of a vertex together. Since they start at one point, whole tiles of directions go down the tree at
/// once; Docs/inside/hemisphere-tracer.md explains how. Rays with different origins (occluded(), nearest()) are traced
/// one by one.
class ktHemisphereTracer : public ktTracer {
public:
    /// @param lanes at most this many floats at a time (4, 8 or 16); the default uses all that the processor has
    /// @param kind  how leaves are stored; results do not depend on it
    explicit ktHemisphereTracer(std::uint32_t lanes = 16, ktLeafKind kind = ktLeafKind::ByCount);

    /// @throws std::length_error for 2^32 triangles or more, besides what ktTracer::build() says
    bool build(const std::vector<ktTracerMesh>& meshes, const Progress& progress) override;
    bool takesInstances() const override { return true; }
    bool copiesStructures() const override { return true; }
    ktStructureImage structureImage() override;
    std::vector<ktStructureImage::Part> beginCopy(const std::vector<ktTracerMesh>& meshes,
                                                  const std::vector<char>& head) override;
    void endCopy() override;
    std::unique_ptr<ktPreparedDirections> prepareDirections(const ktDirectionSet& set) const override;
    void countVisible(const ktRayVertex* vertices, std::uint32_t count, const ktRayLimits& limits,
                      std::uint32_t* visible, std::uint64_t* const* masks) const override;
    void findNearest(const ktRayVertex* vertices, std::uint32_t count, const ktRayLimits& limits,
                     ktHitReceiver& receiver) const override;
    std::uint32_t occluded(const ktRayPacket& rays, bool bothSides) const override;
    void nearest(const ktRayPacket& rays, bool bothSides, ktHitPacket& hits) const override;

    /// Floats that the kernel handles at a time: 4, 8 or 16.
    std::uint32_t laneCount() const;
    /// The structure of a scene without instances; otherwise empty.
    const ktWideBvh& wideBvh() const { return bvh; }
    /// The structure of a scene with instances; otherwise empty.
    const ktTwoLevelBvh& twoLevelBvh() const { return twoLevel; }

private:
    const ktKernelFunctions& functions() const;
    ktBvhView view() const;
    const ktTriangleNumbers& triangleNumbers() const;

    const ktHemisphereKernel& kernel;
    const ktLeafKind leafKind;
    ktWideBvh bvh;
    ktTwoLevelBvh twoLevel;
    bool hasInstances = false;
    ktBvhHead copied; // of the original, between beginCopy() and endCopy()
};
