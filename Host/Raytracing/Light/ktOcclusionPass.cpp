// SPDX-License-Identifier: LGPL-2.1-or-later
// Traces sky rays and shadow rays for the direct light at the vertices of a geometry, in batches.
#include "ktOcclusionPass.h"

#include "ktLuminance.h"
#include "ktVertexBatch.h"
#include "ktVertexFrames.h"
#include "ktVertexGroups.h"

#include <algorithm>

namespace {

osg::Vec4f resultOf(const ktVertexLight& light, float sky) {
    const float share = (sky + ktLuminance(light.arriving)) / (1.0f + ktLuminance(light.unshadowed));
    return osg::Vec4f(light.arriving[0], light.arriving[1], light.arriving[2],
                      std::clamp(share, ktDarkestResult, 1.0f));
}

// Makes the batches of a task and stores their results.
class Batches {
public:
    Batches(const ktOcclusionTask& task_, const ktVertexGroups& groups_, osg::Vec4f* results_)
        : task(task_), groups(groups_), results(results_), frames(task.toWorld, task.directions, task.sceneSize) {}

    void make(ktVertexBatch& batch) const {
        for (std::uint32_t i = 0; i < batch.itemCount(); ++i) {
            const std::size_t group = batch.begin + i, vertex = groups.first(group);
            batch.slot[i] = -1;
            if (frames.make(task.positions + 3 * vertex, task.normals + 3 * vertex,
                            groups.oneRingOf(group, task.oneRings), batch.vertices[batch.count])) {
                task.toWorld.position(task.positions + 3 * vertex, batch.points[batch.count]);
                batch.slot[i] = static_cast<int>(batch.count++);
            }
        }
    }

    // Writes the results of all vertices of the batch. Returns how many could not be traced.
    std::uint32_t write(const ktVertexBatch& batch) const {
        std::uint32_t unusable = 0;
        for (std::uint32_t i = 0; i < batch.itemCount(); ++i) {
            osg::Vec4f result(0, 0, 0, 1);
            float sky = 1;
            if (batch.slot[i] >= 0) {
                const ktVertexLight& light = batch.light[batch.slot[i]];
                sky = static_cast<float>(light.visible) / static_cast<float>(task.directions->set.count);
                result = resultOf(light, sky);
            }
            const std::size_t group = batch.begin + i;
            for (std::uint32_t k = groups.starts[group]; k < groups.starts[group + 1]; ++k) {
                results[groups.order[k]] = result;
                if (task.sky)
                    task.sky[groups.order[k]] = sky;
                unusable += batch.slot[i] < 0;
            }
        }
        return unusable;
    }

private:
    const ktOcclusionTask& task;
    const ktVertexGroups& groups;
    osg::Vec4f* const results;
    const ktVertexFrames frames;
};

} // namespace

ktVertexCounts ktTraceOcclusion(const ktOcclusionTask& task, osg::Vec4f* results, std::atomic<std::uint32_t>& done) {
    const ktVertexGroups groups = ktGroupVertices(task.positions, task.normals, task.count);
    std::atomic<std::uint32_t> traced{0}, unusable{static_cast<std::uint32_t>(groups.unusable.size())};
    for (std::uint32_t vertex : groups.unusable)
        results[vertex] = osg::Vec4f(0, 0, 0, 1);
    for (std::size_t i = 0; task.sky && i < groups.unusable.size(); ++i)
        task.sky[groups.unusable[i]] = 1.0f;
    done += unusable;
    const Batches batches(task, groups, results);
    ktBatchLoop loop;
    loop.work = ktBatchWork::of(task, ktBatchKind::Direct);
    loop.work.lights = task.lights;
    loop.count = groups.size();
    loop.make = [&](ktVertexBatch& batch) { batches.make(batch); };
    loop.finish = [&](const ktVertexBatch& batch) {
        traced += batch.count;
        unusable += batches.write(batch);
        done += groups.starts[batch.end] - groups.starts[batch.begin];
    };
    ktRunLoop(loop, task.helpers);
    return {traced, unusable};
}
