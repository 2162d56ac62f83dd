// SPDX-License-Identifier: LGPL-2.1-or-later
// Keeps results of loops in a file, and restores them in a later process.
#include "ktCheckpoint.h"

#include "ktCancelPoint.h"
#include "ktParallel.h"
#include "ktRandom.h"
#include "ktRankMessages.h"
#include "ktRankPool.h"
#include "ktThreadCount.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <stdexcept>
#include <system_error>
#include <unistd.h>

namespace {

constexpr char magic[] = "ktCheckpoint 1\n";

std::atomic<ktCheckpoint*> currentCheckpoint{nullptr};

std::uint64_t hashBytes(const void* bytes, std::size_t size, std::uint64_t start = 0) {
    std::uint64_t hash = start + size, word = 0;
    const char* at = static_cast<const char*>(bytes);
    for (; size >= sizeof word; size -= sizeof word, at += sizeof word) {
        std::memcpy(&word, at, sizeof word);
        hash = ktRandom::combine(hash, word);
    }
    word = 0;
    std::memcpy(&word, at, size);
    return ktRandom::combine(hash, word);
}

std::uint64_t hashBytes(const std::vector<char>& bytes, std::uint64_t start = 0) {
    return hashBytes(bytes.data(), bytes.size(), start);
}

// What comes before the results of a batch in the file.
struct RecordHead {
    std::uint64_t loopHash, begin, end;
    std::uint32_t loop, size;
    std::uint64_t check; // of all above and of the results

    std::uint64_t checkOf(const std::vector<char>& results) const {
        return hashBytes(results, hashBytes(this, offsetof(RecordHead, check)));
    }
};
static_assert(sizeof(RecordHead) == 40, "no padding: it is written as it is");

std::string lastReason() {
    return std::generic_category().message(errno);
}

} // namespace

ktCheckpoint* ktCheckpoint::current() noexcept {
    return currentCheckpoint;
}

void ktCheckpoint::setCurrent(ktCheckpoint* checkpoint) noexcept {
    currentCheckpoint = checkpoint;
}

ktCheckpoint::ktCheckpoint(const std::string& fileName, const std::string& identity) {
    file = std::fopen(fileName.c_str(), "r+b");
    if (!file && errno == ENOENT)
        file = std::fopen(fileName.c_str(), "w+b");
    if (!file)
        throw std::runtime_error("the checkpoint cannot be opened: " + lastReason());
    try {
        read(identity);
    } catch (...) {
        std::fclose(file);
        throw;
    }
}

ktCheckpoint::~ktCheckpoint() {
    std::fclose(file);
}

// Leaves the file open for appending after the last whole record.
void ktCheckpoint::read(const std::string& identity) {
    std::string head = magic;
    const std::uint64_t size = identity.size();
    head.append(reinterpret_cast<const char*>(&size), sizeof size).append(identity);
    std::string found(head.size(), '\0');
    found.resize(std::fread(found.data(), 1, found.size(), file));
    long good = 0;
    if (found.empty()) {
        append(head.data(), head.size());
        if (!error.empty() || std::fflush(file) != 0)
            throw std::runtime_error("the checkpoint cannot be written: " + lastReason());
        return;
    }
    if (found.compare(0, sizeof magic - 1, magic) != 0)
        throw std::runtime_error("is not a checkpoint");
    if (found != head)
        throw std::runtime_error("is a checkpoint of another scene, of other settings or of another processor; "
                                 "delete it, or name another file");
    good = std::ftell(file);
    RecordHead record;
    while (std::fread(&record, sizeof record, 1, file) == 1) {
        std::vector<char> results(std::min<std::size_t>(record.size, 1u << 20));
        if (results.size() != record.size || std::fread(results.data(), 1, results.size(), file) != results.size() ||
            record.checkOf(results) != record.check || record.begin >= record.end)
            break;
        Kept& kept = loops[record.loop];
        kept.hash = record.loopHash;
        kept.records.push_back({record.begin, record.end, std::move(results)});
        good = std::ftell(file);
    }
    if (std::fseek(file, good, SEEK_SET) != 0 || ftruncate(fileno(file), good) != 0)
        throw std::runtime_error("the checkpoint cannot be written: " + lastReason());
}

std::string ktCheckpoint::writeError() const {
    const std::lock_guard<std::mutex> lock(mutex);
    return error;
}

// The mutex is locked, or there is only one thread.
void ktCheckpoint::append(const void* bytes, std::size_t size) {
    if (error.empty() && std::fwrite(bytes, 1, size, file) != size)
        error = lastReason();
}

void ktCheckpoint::beginScene(const std::vector<ktTracerMesh>& meshes) {
    ktWireWriter writer;
    ktPutScene(writer, meshes);
    sceneHash = hashBytes(writer.bytes);
}

std::uint64_t ktCheckpoint::hashOf(const ktBatchLoop& loop) {
    ktWireWriter writer;
    writer.put(static_cast<std::uint64_t>(loop.count));
    writer.put(loop.work.kind);
    ktPutLimits(writer, loop.work.limits);
    writer.put(static_cast<std::uint32_t>(loop.work.countsSides));
    if (loop.work.lights)
        writer.putArray(*loop.work.lights);
    writer.putArray(loop.work.directions->set.tiles);
    if (loop.work.light && lightVersion != loop.work.light->version()) {
        ktWireWriter light;
        ktPutLight(light, *loop.work.light, false);
        lightHash = hashBytes(light.bytes);
        lightVersion = loop.work.light->version();
    }
    writer.put(loop.work.light ? lightHash : std::uint64_t(0));
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
                                 vertices += hashBytes(made.bytes, i); // a sum does not depend on the order
                             }
                         });
    writer.put(vertices.load());
    return hashBytes(writer.bytes, sceneHash);
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
    RecordHead head;
    head.loopHash = loopHash;
    head.begin = batch.begin;
    head.end = batch.end;
    head.loop = nextLoop - 1;
    head.size = static_cast<std::uint32_t>(results.bytes.size());
    head.check = head.checkOf(results.bytes);
    const std::lock_guard<std::mutex> lock(mutex);
    append(&head, sizeof head);
    append(results.bytes.data(), results.bytes.size());
    // A killed process loses what it has not flushed: at most one batch for each rank and thread here.
    if (error.empty() && ++unflushed >= mostUnflushed) {
        if (std::fflush(file) != 0)
            error = lastReason();
        unflushed = 0;
    }
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
    loopHash = hashOf(loop);
    Kept kept;
    if (auto found = loops.extract(nextLoop++))
        kept = std::move(found.mapped());
    if (!kept.records.empty() && kept.hash != loopHash)
        throw std::runtime_error("the checkpoint is of another scene or of other settings; delete it, or name another "
                                 "file");
    std::sort(kept.records.begin(), kept.records.end(),
              [](const Record& a, const Record& b) { return a.begin < b.begin; });
    std::atomic<std::uint64_t> vertices{0};
    ktParallel::forRange(kept.records.size(), 16, [&](std::size_t begin, std::size_t end) {
        ktThrowIfCanceled();
        for (std::size_t i = begin; i < end; ++i) {
            const Record& record = kept.records[i];
            if (record.end > loop.count || record.end - record.begin > ktVertexBatch::mostItems ||
                (i > 0 && record.begin < kept.records[i - 1].end))
                throw std::runtime_error("the checkpoint is damaged; delete it");
            vertices += restore(loop, record);
        }
    });
    restored += vertices;
    std::uint64_t next = 0;
    for (const Record& record : kept.records) {
        runGap(loop, next, record.begin);
        next = record.end;
    }
    runGap(loop, next, loop.count);
    const std::lock_guard<std::mutex> lock(mutex);
    if (error.empty() && std::fflush(file) != 0)
        error = lastReason();
    unflushed = 0;
}
