// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests whether points lie inside solids, by the sides of the surfaces around them.
#include "ktInsideTest.h"

#include "ktCancelPoint.h"
#include "ktParallel.h"
#include "ktSideCount.h"
#include "ktVertexFrames.h"

#include <atomic>
#include <cfloat>

namespace {

constexpr std::size_t batchSize = 64;

class Sides : public ktHitReceiver {
public:
    explicit Sides(const ktDirectionSet& directions_) : directions(directions_) {}

    void hits(std::uint32_t vertex, std::uint32_t tile, const ktHitPacket& packet) override {
        counts[vertex].add(packet, directions.laneMask(tile));
    }

    ktSideCount counts[batchSize];

private:
    const ktDirectionSet& directions;
};

} // namespace

std::uint64_t ktMarkInside(const ktVertexTask& task, const std::vector<std::uint32_t>& asked, std::uint8_t* isValid) {
    const ktVertexFrames frames(task.toWorld, task.directions, task.sceneSize);
    const ktRayLimits limits = {task.limits.minDistance, FLT_MAX, true};
    std::atomic<std::uint64_t> traced{0};
    ktParallel::forRange(asked.size(), batchSize, [&](std::size_t begin, std::size_t end) {
        ktThrowIfCanceled();
        ktRayVertex vertices[batchSize];
        std::uint32_t points[batchSize], count = 0;
        for (std::size_t i = begin; i < end; ++i) {
            points[count] = asked[i];
            if (frames.make(task.positions + 3 * std::size_t(asked[i]), task.normals + 3 * std::size_t(asked[i]),
                            ktOneRing(), vertices[count]))
                ++count;
        }
        if (count == 0)
            return;
        Sides sides(task.directions->set);
        task.tracer->findNearest(vertices, count, limits, sides);
        for (std::uint32_t i = 0; i < count; ++i)
            if (sides.counts[i].isInside())
                isValid[points[i]] = 0;
        traced += count;
    });
    return traced;
}
