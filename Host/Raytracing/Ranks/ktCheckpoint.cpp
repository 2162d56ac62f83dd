// SPDX-License-Identifier: LGPL-2.1-or-later
// Keeps results of loops and of whole geometries in a file, and restores them in a later process.
#include "ktCheckpoint.h"

#include "ktCancelPoint.h"
#include "ktParallel.h"
#include "ktRankMessages.h"
#include "ktRankPool.h"
#include "ktThreadCount.h"

#include <algorithm>
#include <atomic>
#include <stdexcept>

namespace {

constexpr char damaged[] = "the checkpoint is damaged; delete it";

std::atomic<ktCheckpoint*> currentCheckpoint{nullptr};

template <class T>
void putArrayIfAny(ktWireWriter& to, const std::vector<T>* values) {
    to.putArray(values ? values->data() : nullptr, values ? values->size() : 0);
}

void putTiles(ktWireWriter& to, const ktPreparedDirections* directions) {
    putArrayIfAny(to, directions ? &directions->set.tiles : nullptr);
}

} // namespace

ktCheckpoint* ktCheckpoint::current() noexcept {
    return currentCheckpoint;
}

void ktCheckpoint::setCurrent(ktCheckpoint* checkpoint) noexcept {
    currentCheckpoint = checkpoint;
}

ktCheckpoint::ktCheckpoint(const std::string& fileName, const std::string& identity)
    : file(fileName, identity,
           [this](const ktCheckpointFile::Head& head, std::vector<char>&& bytes, ktCheckpointFile::Place place) {
               add(head, std::move(bytes), place);
           }) {}

void ktCheckpoint::add(const ktCheckpointFile::Head& head, std::vector<char>&& bytes, ktCheckpointFile::Place place) {
    switch (head.kind) {
    case ktCheckpointFile::Kind::Batch:
        loops[{head.hash, head.repetition}].push_back({head.begin, head.end, std::move(bytes)});
        return;
    case ktCheckpointFile::Kind::Geometry:
        geometries[head.hash] = place; // read when it is needed
        return;
    case ktCheckpointFile::Kind::Scene:
        firstScene = head.hash;
        return;
    }
}

void ktCheckpoint::beginScene(const std::vector<ktTracerMesh>& meshes) {
    ktWireWriter writer;
    ktPutScene(writer, meshes);
    sceneHash = ktHashBytes(writer.bytes);
    if (std::exchange(hasScene, true))
        return; // a bake may change its scene
    if (firstScene && *firstScene != sceneHash)
        throw std::runtime_error("the checkpoint is of another scene or of other settings; delete it, or name another "
                                 "file");
    if (firstScene)
        return;
    ktCheckpointFile::Head head;
    head.kind = ktCheckpointFile::Kind::Scene;
    head.hash = sceneHash;
    file.append(head, {}, 1);
}

std::uint64_t ktCheckpoint::hashOf(const ktBatchLoop& loop) {
    ktWireWriter writer;
    writer.put(static_cast<std::uint64_t>(loop.count));
    writer.put(loop.work.kind);
    ktPutLimits(writer, loop.work.limits);
    writer.put(static_cast<std::uint32_t>(loop.work.countsSides));
    putArrayIfAny(writer, loop.work.lights);
    putTiles(writer, loop.work.directions);
    writer.put(hashOf(loop.work.light));
    std::atomic<std::uint64_t> vertices{0};
    ktParallel::forRange((loop.count + ktVertexBatch::mostItems - 1) / ktVertexBatch::mostItems, 16,
                         [&](std::size_t begin, std::size_t end) {
                             ktThrowIfCanceled();
                             for (std::size_t i = begin; i < end; ++i) {
                                 ktRankBlock block;
                                 block.batches.resize(1);
                                 ktVertexBatch& batch = block.batches[0];
                                 batch.begin = i * ktVertexBatch::mostItems;
                                 batch.end = std::min(batch.begin + ktVertexBatch::mostItems, loop.count);
                                 loop.make(batch);
                                 ktWireWriter made;
                                 ktPutBlock(made, block, loop.work);
                                 vertices += ktHashBytes(made.bytes, i); // a sum does not depend on the order
                             }
                         });
    writer.put(vertices.load());
    return ktHashBytes(writer.bytes, sceneHash);
}

std::uint64_t ktCheckpoint::hashOf(const ktReflectedLight* light) {
    if (!light)
        return 0;
    if (lightVersion != light->version()) {
        ktWireWriter writer;
        ktPutLight(writer, *light, false);
        lightHash = ktHashBytes(writer.bytes);
        lightVersion = light->version();
    }
    return lightHash;
}

std::uint64_t ktCheckpoint::hashOf(const ktGeometryPass& pass, const ktGeometryJob& job) {
    ktWireWriter writer;
    writer.put(pass.kind);
    ktPutLimits(writer, pass.limits);
    writer.put(pass.sceneSize);
    putArrayIfAny(writer, pass.lights);
    putTiles(writer, pass.directions);
    putTiles(writer, pass.pointDirections);
    putTiles(writer, pass.insideDirections);
    writer.put(pass.density);
    writer.put(pass.mostPoints);
    writer.put(hashOf(pass.light));
    ktPutJob(writer, job);
    return ktHashBytes(writer.bytes, sceneHash);
}

std::optional<ktGeometryResult> ktCheckpoint::restore(std::uint64_t hash, const ktGeometryPass& pass,
                                                      const ktGeometryJob& job) {
    const auto found = geometries.find(hash);
    if (found == geometries.end())
        return {};
    const std::vector<char> bytes = file.read(found->second);
    ktWireReader reader(bytes);
    try {
        ktGeometryResult result = ktGetResult(reader, job.vertexCount(), pass.valueChannels(),
                                              job.triangles->empty() ? 0 : pass.sampleChannels());
        restored += result.verticesTraced(pass);
        return result;
    } catch (const ktBadMessage&) {
        throw std::runtime_error(damaged);
    }
}

void ktCheckpoint::keep(std::uint64_t hash, const ktGeometryResult& result) {
    ktWireWriter writer;
    ktPutResult(writer, result);
    ktCheckpointFile::Head head;
    head.kind = ktCheckpointFile::Kind::Geometry;
    head.hash = hash;
    file.append(head, writer.bytes, 1);
}

// Returns the number of vertices.
std::uint64_t ktCheckpoint::restore(const ktBatchLoop& loop, const Record& record) const {
    ktRankBlock block;
    block.batches.resize(1);
    ktVertexBatch& batch = block.batches[0];
    batch.begin = record.begin;
    batch.end = record.end;
    loop.make(batch);
    ktWireReader reader(record.results);
    ktGetResults(reader, block, loop.work);
    loop.finish(batch);
    return batch.count;
}

void ktCheckpoint::keep(const ktBatchLoop& loop, const ktVertexBatch& batch) {
    ktWireWriter results;
    ktPutBatchResults(results, batch, loop.work);
    ktCheckpointFile::Head head;
    head.hash = loopName.first;
    head.repetition = loopName.second;
    head.begin = batch.begin;
    head.end = batch.end;
    // A killed process loses what it has not flushed: at most one batch for each rank and thread here.
    file.append(head, results.bytes, mostUnflushed);
}

// Traces the items [begin, end) of a loop and keeps the results.
void ktCheckpoint::runGap(const ktBatchLoop& loop, std::uint64_t begin, std::uint64_t end) {
    if (begin >= end)
        return;
    ktBatchLoop gap;
    gap.work = loop.work;
    gap.count = end - begin;
    gap.make = [&](ktVertexBatch& batch) {
        batch.begin += begin;
        batch.end += begin;
        loop.make(batch);
    };
    gap.finish = [&](const ktVertexBatch& batch) {
        loop.finish(batch);
        keep(loop, batch);
    };
    ktRunLoop(gap, ktRankPool::current());
}

void ktCheckpoint::run(const ktBatchLoop& loop) {
    const ktRankPool* const ranks = ktRankPool::current();
    mostUnflushed = ktThreadCount::get() + (ranks ? ranks->statistics().size() - 1 : 0);
    const std::uint64_t hash = hashOf(loop);
    loopName = {hash, repetitions[hash]++};
    std::vector<Record> kept;
    if (auto found = loops.extract(loopName))
        kept = std::move(found.mapped());
    std::sort(kept.begin(), kept.end(), [](const Record& a, const Record& b) { return a.begin < b.begin; });
    std::atomic<std::uint64_t> vertices{0};
    ktParallel::forRange(kept.size(), 16, [&](std::size_t begin, std::size_t end) {
        ktThrowIfCanceled();
        for (std::size_t i = begin; i < end; ++i) {
            const Record& record = kept[i];
            if (record.begin >= record.end || record.end > loop.count ||
                record.end - record.begin > ktVertexBatch::mostItems || (i > 0 && record.begin < kept[i - 1].end))
                throw std::runtime_error(damaged);
            vertices += restore(loop, record);
        }
    });
    restored += vertices;
    std::uint64_t next = 0;
    for (const Record& record : kept) {
        runGap(loop, next, record.begin);
        next = record.end;
    }
    runGap(loop, next, loop.count);
    file.flush();
}
