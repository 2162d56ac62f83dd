// SPDX-License-Identifier: LGPL-2.1-or-later
// Tests whether points lie inside solids, by the sides of the surfaces around them.
#include "ktInsideTest.h"

#include "ktVertexBatch.h"
#include "ktVertexFrames.h"

#include <atomic>
#include <cfloat>

std::uint64_t ktMarkInside(const ktVertexTask& task, const std::vector<std::uint32_t>& asked, std::uint8_t* isValid) {
    const ktVertexFrames frames(task.toWorld, task.directions, task.sceneSize);
    std::atomic<std::uint64_t> traced{0};
    ktBatchLoop loop;
    loop.work = ktBatchWork::of(task, ktBatchKind::Sides);
    loop.work.limits = {task.limits.minDistance, FLT_MAX, true};
    loop.count = asked.size();
    loop.make = [&](ktVertexBatch& batch) {
        for (std::size_t i = batch.begin; i < batch.end; ++i) {
            const std::size_t at = 3 * std::size_t(asked[i]);
            const bool isTraceable =
                frames.make(task.positions + at, task.normals + at, ktOneRing(), batch.vertices[batch.count]);
            batch.slot[i - batch.begin] = isTraceable ? static_cast<int>(batch.count++) : -1;
        }
    };
    loop.finish = [&](const ktVertexBatch& batch) {
        for (std::size_t i = batch.begin; i < batch.end; ++i)
            if (const int slot = batch.slot[i - batch.begin]; slot >= 0 && batch.light[slot].sides.isInside())
                isValid[asked[i]] = 0;
        traced += batch.count;
    };
    ktRunLoop(loop, task.helpers);
    return traced;
}
