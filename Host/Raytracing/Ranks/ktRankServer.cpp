// SPDX-License-Identifier: LGPL-2.1-or-later
// Traces blocks of vertices for rank 0 on all threads of this process.
#include "ktRankServer.h"

#include "ktCancelPoint.h"
#include "ktEventPump.h"
#include "ktFlushDenormals.h"
#include "ktGeometryJob.h"
#include "ktWorkers.h"

#include <atomic>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <exception>
#include <mutex>
#include <sys/resource.h>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point begin) {
    return std::chrono::duration<double>(Clock::now() - begin).count();
}

// A block in work. The thread that traces its last batch sends the results.
struct Block {
    ktRankBlock block;
    const ktRankLoop* loop = nullptr;
    std::size_t nextBatch = 0;            // under the mutex
    std::atomic<std::size_t> batchesLeft; // to trace
    std::atomic<bool> isDropped{false};

    explicit Block(ktRankBlock&& block_) : block(std::move(block_)), batchesLeft(block.batches.size()) {}
};

/// While it exists, the threads of this process have work.
class NotWaiting {
public:
    explicit NotWaiting(ktTransport& transport_) : transport(transport_) { transport.setWaiting(false); }
    ~NotWaiting() { transport.setWaiting(true); }
    NotWaiting(const NotWaiting&) = delete;
    NotWaiting& operator=(const NotWaiting&) = delete;

private:
    ktTransport& transport;
};

class Server {
public:
    Server(ktTransport& transport_, const ktRankServerOptions& options_) : transport(transport_), options(options_) {
        for (std::uint32_t i = 0; i < options.self.threads; ++i)
            threads.emplace_back([this] { trace(); });
    }
    ~Server() {
        {
            const std::lock_guard<std::mutex> lock(mutex);
            isEnding = true;
            blocks.clear();
        }
        options.setCanceled(true);
        changed.notify_all();
        for (std::thread& thread : threads)
            thread.join();
    }

    bool run() {
        ktWireWriter hello = ktBeginMessage(ktRankMessage::Hello);
        ktPut(hello, options.self);
        transport.send(0, ktEndMessage(std::move(hello)));
        lastHeard = Clock::now();
        while (!hasEnded && !isRankZeroLost) {
            std::vector<char> message;
            if (!deferred.empty()) {
                message = std::move(deferred.front());
                deferred.pop_front();
            } else if (!receive(message, std::chrono::milliseconds(20)))
                continue;
            try {
                handle(message);
            } catch (const ktCanceled&) {
                continue;
            } catch (const std::bad_alloc&) {
                sayFailed("out of memory");
            } catch (const std::exception& error) {
                sayFailed(error.what());
            }
        }
        return !isRankZeroLost;
    }

private:
    // Beats, and handles what cannot wait. @return whether there is a message for handle()
    bool receive(std::vector<char>& message, std::chrono::milliseconds longest) {
        if (Clock::now() - lastBeat >= options.beat) {
            lastBeat = Clock::now();
            sendBeat();
        }
        int from = 0;
        if (!transport.receive(from, message, longest)) {
            isRankZeroLost = Clock::now() - lastHeard > options.silence;
            return false;
        }
        lastHeard = Clock::now();
        ktWireReader reader(message);
        switch (reader.get<ktRankMessage>()) {
        case ktRankMessage::Beat:
            return false;
        case ktRankMessage::End:
            hasEnded = true;
            options.setCanceled(true);
            return false;
        case ktRankMessage::Cancel:
            cancel(reader.get<std::uint64_t>());
            return false;
        default:
            return true;
        }
    }

    void sendBeat() {
        rusage usage = {};
        getrusage(RUSAGE_SELF, &usage);
        ktWireWriter writer = ktBeginMessage(ktRankMessage::Beat);
        {
            const std::lock_guard<std::mutex> lock(mutex);
            done.peakMemory_bytes = static_cast<std::uint64_t>(usage.ru_maxrss) * 1024;
            writer.put(done);
        }
        transport.send(0, ktEndMessage(std::move(writer)));
    }

    void sayFailed(const std::string& reason) {
        ktWireWriter writer = ktBeginMessage(ktRankMessage::Failed);
        writer.putText(reason);
        transport.send(0, ktEndMessage(std::move(writer)));
    }

    void cancel(std::uint64_t generation) {
        if (generation <= canceledGeneration)
            return;
        canceledGeneration = generation;
        options.setCanceled(true);
        const std::lock_guard<std::mutex> lock(mutex);
        blocks.clear();
    }

    // Waits until no thread traces; then the state that they read may change.
    void waitUntilIdle() {
        std::unique_lock<std::mutex> lock(mutex);
        changed.wait(lock, [this] { return blocks.empty() && busyThreads == 0; });
    }

    void handle(const std::vector<char>& message) {
        ktWireReader reader(message);
        const auto kind = reader.get<ktRankMessage>();
        if (kind == ktRankMessage::Start) {
            tracer = options.makeTracer(reader.get<std::uint32_t>());
            return;
        }
        if (!tracer)
            throw ktBadMessage("rank 0 sent work before the start");
        switch (kind) {
        case ktRankMessage::Scene:
            readScene(reader);
            return;
        case ktRankMessage::Structure:
            beginCopy(reader);
            return;
        case ktRankMessage::StructurePiece:
            addPiece(reader);
            return;
        case ktRankMessage::Directions:
            waitUntilIdle();
            ktGetDirections(reader, *tracer, directions);
            return;
        case ktRankMessage::Light:
            waitUntilIdle();
            loop.reset();
            pass.reset();
            light = ktGetLight(reader, scene, *tracer, directions);
            return;
        case ktRankMessage::Begin:
            waitUntilIdle();
            loop = ktGetLoop(reader, *tracer, directions, light ? &light->light : nullptr);
            if (loop->generation > canceledGeneration)
                options.setCanceled(false);
            return;
        case ktRankMessage::Block:
            addBlock(reader);
            return;
        case ktRankMessage::Pass:
            waitUntilIdle();
            pass = ktGetPass(reader, *tracer, directions, light ? &light->light : nullptr);
            if (pass->generation > canceledGeneration)
                options.setCanceled(false);
            return;
        case ktRankMessage::Geometry:
            traceGeometry(reader);
            return;
        default:
            throw ktBadMessage("rank 0 sent a message of an unknown kind");
        }
    }

    void addBlock(ktWireReader& reader) {
        ktRankBlock block;
        ktGetBlockName(reader, block.generation, block.number);
        if (block.generation <= canceledGeneration)
            return;
        if (!loop || loop->generation != block.generation)
            throw ktBadMessage("rank 0 sent a block of an unknown loop");
        ktGetBlock(reader, block, loop->work);
        auto added = std::make_shared<Block>(std::move(block));
        added->loop = loop.get();
        const std::lock_guard<std::mutex> lock(mutex);
        blocks.push_back(std::move(added));
        transport.setWaiting(false);
        changed.notify_all();
    }

    void traceGeometry(ktWireReader& reader) {
        const auto generation = reader.get<std::uint64_t>();
        const auto number = reader.get<std::uint32_t>();
        if (generation <= canceledGeneration)
            return;
        if (!pass || pass->generation != generation)
            throw ktBadMessage("rank 0 sent a geometry of an unknown pass");
        const ktGeometryJob job = ktGetJob(reader);
        const Clock::time_point begun = Clock::now();
        ktGeometryResult result;
        work([&] { result = ktTraceGeometry(pass->how, job); });
        ktWireWriter writer = ktBeginMessage(ktRankMessage::GeometryDone);
        writer.put(generation);
        writer.put(number);
        ktPutResult(writer, result);
        transport.send(0, ktEndMessage(std::move(writer)));
        {
            const std::lock_guard<std::mutex> lock(mutex);
            done.tracingSeconds += options.self.threads * secondsSince(begun);
            done.vertices += result.verticesTraced(pass->how);
        }
        sendBeat();
    }

    void readScene(ktWireReader& reader) {
        waitUntilIdle();
        const auto generation = reader.get<std::uint64_t>();
        const bool isCopied = reader.get<std::uint32_t>() != 0;
        loop.reset();
        pass.reset();
        light.reset();
        directions.clear();
        tracer->build({}, {});
        copyParts.clear();
        scene = ktRankScene();
        ktGetScene(reader, scene);
        if (generation > canceledGeneration)
            options.setCanceled(false);
        if (isCopied)
            return;
        const Clock::time_point begin = Clock::now();
        bool isBuilt = false;
        const auto goesOn = [&](float) { return !hasEnded && !isRankZeroLost && canceledGeneration < generation; };
        work([&] { isBuilt = tracer->build(scene.meshes, goesOn); });
        if (isBuilt)
            sayBuilt(generation, secondsSince(begin));
    }

    // Uses all threads. Receives messages meanwhile.
    void work(const std::function<void()>& action) {
        const NotWaiting working(transport);
        ktEventPump pump([this] {
            std::vector<char> message;
            while (receive(message, std::chrono::milliseconds(0)))
                deferred.push_back(std::move(message));
        });
        ktWorkers::run(action, pump);
    }

    void beginCopy(ktWireReader& reader) {
        const auto generation = reader.get<std::uint64_t>();
        const std::vector<char> head = reader.getArray<char>();
        reader.end();
        if (generation <= canceledGeneration)
            return;
        copyBegun = Clock::now();
        copyParts = tracer->beginCopy(scene.meshes, head);
        copyBytesLeft = 0;
        for (const ktStructureImage::Part& part : copyParts)
            copyBytesLeft += part.size;
        if (copyBytesLeft == 0)
            endCopy(generation);
    }

    void addPiece(ktWireReader& reader) {
        const auto generation = reader.get<std::uint64_t>();
        if (generation <= canceledGeneration)
            return;
        const auto part = reader.get<std::uint32_t>();
        const auto begin = reader.get<std::uint64_t>();
        const auto size = reader.get<std::uint64_t>();
        const char* const bytes = reader.getBytes(size);
        reader.end();
        if (part >= copyParts.size() || begin > copyParts[part].size || size > copyParts[part].size - begin ||
            size > copyBytesLeft)
            throw ktBadMessage("a piece that is not of the structure");
        std::memcpy(copyParts[part].first + begin, bytes, size);
        copyBytesLeft -= size;
        if (copyBytesLeft == 0)
            endCopy(generation);
    }

    void endCopy(std::uint64_t generation) {
        copyParts.clear();
        work([this] { tracer->endCopy(); });
        sayBuilt(generation, secondsSince(copyBegun));
    }

    void sayBuilt(std::uint64_t generation, double seconds) {
        {
            const std::lock_guard<std::mutex> lock(mutex);
            done.buildSeconds += seconds;
        }
        ktWireWriter writer = ktBeginMessage(ktRankMessage::Built);
        writer.put(generation);
        transport.send(0, ktEndMessage(std::move(writer)));
    }

    // A thread that traces.
    void trace() {
        const ktFlushDenormals fast;
        std::unique_lock<std::mutex> lock(mutex);
        while (true) {
            const Clock::time_point waited = Clock::now();
            if (blocks.empty())
                transport.setWaiting(true);
            changed.wait(lock, [this] { return isEnding || !blocks.empty(); });
            if (isEnding)
                return;
            done.waitingSeconds += secondsSince(waited);
            const std::shared_ptr<Block> block = blocks.front();
            const std::size_t index = block->nextBatch++;
            if (block->nextBatch == block->block.batches.size())
                blocks.pop_front();
            ++busyThreads;
            lock.unlock();
            const Clock::time_point begun = Clock::now();
            const bool isComplete = traceBatch(*block, index);
            transport.look();
            lock.lock();
            done.tracingSeconds += secondsSince(begun);
            done.vertices += block->block.batches[index].count;
            --busyThreads;
            changed.notify_all();
            if (isComplete && blocks.empty()) {
                lock.unlock();
                sendBeat(); // so that rank 0 knows what was done at the end of a bake
                lock.lock();
            }
        }
    }

    // @return whether the results of the block are sent
    bool traceBatch(Block& block, std::size_t index) {
        try {
            ktTraceBatch(block.loop->work, block.block.batches[index]);
        } catch (const ktCanceled&) {
            block.isDropped = true;
        } catch (const std::exception& error) {
            block.isDropped = true;
            sayFailed(error.what());
        }
        if (--block.batchesLeft > 0 || block.isDropped)
            return false;
        ktWireWriter writer = ktBeginMessage(ktRankMessage::Done);
        ktPutBlockName(writer, block.block);
        ktPutResults(writer, block.block, block.loop->work);
        transport.send(0, ktEndMessage(std::move(writer)));
        return true;
    }

    ktTransport& transport;
    const ktRankServerOptions& options;
    // Read by the threads; changed only while they are idle.
    std::unique_ptr<ktTracer> tracer; // null before Start
    ktRankScene scene;
    ktRankDirectionTable directions;
    std::unique_ptr<ktRankLight> light;
    std::unique_ptr<ktRankLoop> loop;
    std::unique_ptr<ktRankGeometryPass> pass;
    // Of the thread that receives.
    std::vector<ktStructureImage::Part> copyParts; // of the structure that it copies
    std::uint64_t copyBytesLeft = 0;
    Clock::time_point copyBegun;
    std::deque<std::vector<char>> deferred; // received while a structure was built
    std::atomic<std::uint64_t> canceledGeneration{0};
    std::atomic<bool> hasEnded{false}, isRankZeroLost{false};
    Clock::time_point lastBeat, lastHeard;

    std::mutex mutex; // for all below
    std::condition_variable changed;
    std::deque<std::shared_ptr<Block>> blocks; // with batches that no thread has taken
    std::size_t busyThreads = 0;
    ktRankBeat done;
    bool isEnding = false;
    std::vector<std::thread> threads;
};

} // namespace

bool ktServeRank(ktTransport& transport, const ktRankServerOptions& options) {
    return Server(transport, options).run();
}
