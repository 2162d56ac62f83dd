// SPDX-License-Identifier: LGPL-2.1-or-later
// Gathers one bounce of indirect light at the vertices of a geometry, in batches on all threads.
#include "ktGatherPass.h"

#include "ktVertexBatch.h"
#include "ktVertexFrames.h"
#include "ktVertexGroups.h"

#include <algorithm>

ktVertexCounts ktGatherLight(const ktGatherTask& task, float* received, std::atomic<std::uint32_t>& done) {
    std::fill_n(received, 3 * std::size_t(task.count), 0.0f);
    const ktVertexGroups groups = ktGroupVertices(task.positions, task.normals, task.count);
    const ktVertexFrames frames(task.toWorld, task.directions, task.sceneSize);
    const float rays = static_cast<float>(task.directions->set.count);
    std::atomic<std::uint32_t> traced{0}, unusable{static_cast<std::uint32_t>(groups.unusable.size())};
    done += unusable;
    ktBatchLoop loop;
    loop.work = ktBatchWork::of(task, ktBatchKind::Gather);
    loop.work.light = task.light;
    loop.work.countsSides = task.isValid != nullptr;
    loop.count = groups.size();
    loop.make = [&](ktVertexBatch& batch) {
        for (std::size_t group = batch.begin; group < batch.end; ++group) {
            const std::size_t vertex = groups.first(group);
            const bool isTraceable = frames.make(task.positions + 3 * vertex, task.normals + 3 * vertex,
                                                 groups.oneRingOf(group, task.oneRings), batch.vertices[batch.count]);
            batch.slot[group - batch.begin] = isTraceable ? static_cast<int>(batch.count++) : -1;
        }
    };
    loop.finish = [&](const ktVertexBatch& batch) {
        for (std::size_t group = batch.begin; group < batch.end; ++group) {
            const int slot = batch.slot[group - batch.begin];
            if (slot < 0) {
                unusable += groups.starts[group + 1] - groups.starts[group];
                continue;
            }
            const ktVertexLight& light = batch.light[slot];
            for (std::uint32_t k = groups.starts[group]; k < groups.starts[group + 1]; ++k) {
                if (task.isValid && light.sides.isInside())
                    task.isValid[groups.order[k]] = 0;
                for (int c = 0; c < 3; ++c)
                    received[3 * std::size_t(groups.order[k]) + c] = light.arriving[c] / rays;
            }
        }
        traced += batch.count;
        done += groups.starts[batch.end] - groups.starts[batch.begin];
    };
    ktRunLoop(loop, task.helpers);
    return {traced, unusable};
}
