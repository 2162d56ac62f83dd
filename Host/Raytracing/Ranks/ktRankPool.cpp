// SPDX-License-Identifier: LGPL-2.1-or-later
// Shares loops with the other ranks: hands out blocks, stores results, watches for ranks that are lost.
#include "ktRankPool.h"

#include "ktCancelPoint.h"
#include "ktCheckpoint.h"
#include "ktParallel.h"
#include "ktRankPass.h"
#include "ktRankPeer.h"
#include "ktTBBInit.h"
#include "ktThreadCount.h"

#include <algorithm>
#include <deque>
#include <iterator>

namespace {

constexpr std::uint64_t leastRaysPerThread = 1 << 14; // of a block; a fraction of a millisecond
constexpr std::uint64_t leastRaysPerBatch = 1 << 13;  // at the end of a loop
constexpr std::size_t mostBatchesPerThread = 32;      // of a block; a batch takes 10 kB here
constexpr std::size_t shareOfRest = 4;                // a block is at most this part of a rank's share of the rest

std::atomic<ktRankPool*> currentPool{nullptr};

double secondsSince(std::chrono::steady_clock::time_point begin) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

/// While it exists, the transport looks for messages all the time.
class Waiting {
public:
    explicit Waiting(ktTransport& transport_) : transport(transport_) { transport.setWaiting(true); }
    ~Waiting() { transport.setWaiting(false); }
    Waiting(const Waiting&) = delete;
    Waiting& operator=(const Waiting&) = delete;

private:
    ktTransport& transport;
};

} // namespace

struct ktRankPool::Loop {
    const ktBatchLoop* work = nullptr;
    std::uint64_t generation = 0;
    std::size_t batchSize = 1, leastBatch = 1; // items
    std::size_t threads = 1;                   // of all ranks
    std::atomic<std::size_t> next{0};          // item
    std::uint32_t nextBlock = 0;
    std::size_t inUse = 0;     // threads of the pool that use the loop now
    std::size_t handedOut = 0; // blocks without results
    bool isOver = false;
    std::exception_ptr error; // of the listener
    ktMessageBytes begin;
    std::deque<std::pair<Peer*, std::vector<char>>> arrived; // results that nobody has stored yet

    // Items of the next batch: fewer near the end, so that nobody waits long for the last one.
    std::size_t batchAt(std::size_t item) const {
        const std::size_t rest = work->count - std::min<std::size_t>(item, work->count);
        return std::clamp(rest / (shareOfRest * threads), leastBatch, batchSize);
    }
};

ktRankPool* ktRankPool::current() noexcept {
    return currentPool;
}

void ktRankPool::setCurrent(ktRankPool* pool) noexcept {
    currentPool = pool;
}

ktRankPool::ktRankPool(std::unique_ptr<ktTransport> transport_, const ktRankHello& hello, Limits limits_)
    : transport(std::move(transport_)), limits(limits_) {
    self.host = hello.host;
    self.threads = hello.threads;
    for (int rank = 1; rank < transport->size(); ++rank) {
        peers.push_back(std::make_unique<Peer>());
        peers.back()->rank = rank;
        peers.back()->lastHeard = peers.back()->lastProgress = Clock::now();
    }
    try {
        meetAll(hello);
    } catch (...) {
        transport->abort(1);
        throw;
    }
    transport->setWaiting(false);
    listener = std::thread([this] { listen(); });
}

ktRankPool::~ktRankPool() {
    {
        const std::lock_guard<std::mutex> lock(mutex);
        isEnding = true;
    }
    listener.join();
    if (!failure.empty()) {
        transport->abort(1);
        return;
    }
    for (const auto& peer : peers)
        transport->send(peer->rank, ktEndMessage(ktBeginMessage(ktRankMessage::End)));
    transport->finish();
}

std::string ktRankPool::nameOf(const Peer& peer) const {
    const std::string host = peer.statistics.host.empty() ? "of an unknown host" : "on " + peer.statistics.host;
    return "rank " + std::to_string(peer.rank) + " " + host;
}

void ktRankPool::meetAll(const ktRankHello& hello) {
    std::size_t met = 0;
    const Clock::time_point begin = Clock::now();
    while (met < peers.size()) {
        int from = 0;
        std::vector<char> message;
        if (transport->receive(from, message, std::chrono::milliseconds(20))) {
            ktWireReader reader(message);
            Peer& peer = *peers.at(static_cast<std::size_t>(from - 1));
            const auto kind = reader.get<ktRankMessage>();
            if (kind == ktRankMessage::Beat)
                continue;
            ktRankHello other;
            if (kind != ktRankMessage::Hello || peer.hasMet)
                throw std::runtime_error(nameOf(peer) + " says something else than hello");
            ktGet(reader, other);
            peer.statistics.host = other.host;
            peer.statistics.threads = other.threads;
            peer.process = other.process;
            peer.hasMet = true;
            ++met;
            if (other.version != hello.version)
                throw std::runtime_error(nameOf(peer) + " runs version " + other.version + ", but rank 0 on " +
                                         hello.host + " runs version " + hello.version);
            std::copy(std::begin(other.fingerprints), std::end(other.fingerprints), peer.fingerprints);
        } else if (Clock::now() - begin > limits.silence) {
            const auto silent =
                std::find_if(peers.begin(), peers.end(), [](const auto& peer) { return !peer->hasMet; });
            throw std::runtime_error("rank " + std::to_string((*silent)->rank) + " does not answer");
        }
    }
    for (const auto& peer : peers)
        peer->lastHeard = peer->lastProgress = Clock::now();
    start(hello);
}

// Chooses the widest vector instructions with which all ranks find the same bits, and counts the threads nearby.
void ktRankPool::start(const ktRankHello& hello) {
    bool isEqual[3] = {true, true, true};
    for (int width = 0; width < 3; ++width)
        for (const auto& peer : peers)
            isEqual[width] = isEqual[width] && hello.fingerprints[width] != 0 &&
                             peer->fingerprints[width] == hello.fingerprints[width];
    if (!isEqual[0] && !isEqual[1] && !isEqual[2]) {
        const auto other = std::find_if(peers.begin(), peers.end(), [&](const auto& peer) {
            return peer->fingerprints[0] != hello.fingerprints[0];
        });
        throw std::runtime_error(nameOf(other == peers.end() ? *peers.front() : **other) +
                                 " finds other bits than rank 0 on " + hello.host +
                                 ": their processors or mathematical libraries differ too much");
    }
    commonLanes = isEqual[2] ? 16 : isEqual[1] ? 8 : 4;
    std::uint32_t nearby = 0;
    isOneMachine = true;
    for (const auto& peer : peers) {
        const bool isNearby = peer->statistics.host == hello.host;
        nearby += isNearby ? peer->statistics.threads : 0;
        isOneMachine = isOneMachine && isNearby;
    }
    const std::uint32_t cores = limits.cores != 0 ? limits.cores : ktTBBInit::the()->getNumLogicalCores();
    borrowedThreads = std::min(nearby, cores - std::min(cores, hello.threads));
    lendsAll = isOneMachine && borrowedThreads == nearby;
    ktWireWriter writer = ktBeginMessage(ktRankMessage::Start);
    writer.put(commonLanes);
    const ktMessageBytes message = ktEndMessage(std::move(writer));
    for (const auto& peer : peers)
        send(*peer, message);
}

void ktRankPool::send(Peer& peer, ktMessageBytes message) {
    peer.statistics.bytesSent += message->size();
    transport->send(peer.rank, std::move(message));
}

void ktRankPool::lose(const Peer& peer, const std::string& reason) {
    const std::lock_guard<std::mutex> lock(mutex);
    if (failure.empty())
        failure = nameOf(peer) + " " + reason;
    isLost = true;
    changed.notify_all();
}

bool ktRankPool::hasFailed() const {
    const std::lock_guard<std::mutex> lock(mutex);
    return !failure.empty();
}

std::vector<ktRankStatistics> ktRankPool::statistics() const {
    const std::lock_guard<std::mutex> lock(mutex);
    std::vector<ktRankStatistics> all{self};
    for (const auto& peer : peers)
        all.push_back(peer->statistics);
    return all;
}

// The thread that receives all messages.
void ktRankPool::listen() {
    const ktFlushDenormals fast; // as the threads that trace
    Clock::time_point lastBeat = Clock::now();
    while (true) {
        {
            const std::lock_guard<std::mutex> lock(mutex);
            if (isEnding)
                return;
        }
        int from = 0;
        std::vector<char> message;
        if (transport->receive(from, message, std::chrono::milliseconds(20)) && from > 0 &&
            static_cast<std::size_t>(from) <= peers.size()) {
            Peer& peer = *peers[static_cast<std::size_t>(from - 1)];
            guarded(peer, [&] { handle(peer, std::move(message)); });
        }
        if (Clock::now() - lastBeat >= limits.beat) {
            lastBeat = Clock::now();
            for (const auto& peer : peers)
                transport->send(peer->rank, ktEndMessage(ktBeginMessage(ktRankMessage::Beat)));
            watch();
        }
    }
}

void ktRankPool::watch() {
    for (const auto& peer : peers) {
        bool isSilent = false, isStuck = false;
        {
            const std::lock_guard<std::mutex> lock(mutex);
            isSilent = Clock::now() - peer->lastHeard > limits.silence;
            isStuck =
                !(peer->blocks.empty() && peer->jobs.empty()) && Clock::now() - peer->lastProgress > limits.progress;
        }
        if (isSilent)
            lose(*peer, "has ended or hangs: it gave no sign of life for " +
                            std::to_string(limits.silence.count() / 1000) + " seconds");
        else if (isStuck)
            lose(*peer,
                 "hangs: it has finished nothing for " + std::to_string(limits.progress.count() / 1000) + " seconds");
    }
}

void ktRankPool::handle(Peer& peer, std::vector<char>&& message) {
    ktWireReader reader(message);
    const auto kind = reader.get<ktRankMessage>();
    {
        const std::lock_guard<std::mutex> lock(mutex);
        peer.lastHeard = Clock::now();
        peer.statistics.bytesReceived += message.size();
    }
    switch (kind) {
    case ktRankMessage::Beat: {
        const auto beat = reader.get<ktRankBeat>();
        const std::lock_guard<std::mutex> lock(mutex);
        if (beat.vertices != peer.statistics.vertices)
            peer.lastProgress = Clock::now();
        peer.statistics.vertices = beat.vertices;
        peer.statistics.buildSeconds = beat.buildSeconds;
        peer.statistics.tracingSeconds = beat.tracingSeconds;
        peer.statistics.waitingSeconds = beat.waitingSeconds;
        peer.statistics.peakMemory_bytes = beat.peakMemory_bytes;
        return;
    }
    case ktRankMessage::Built: {
        const auto built = reader.get<std::uint64_t>();
        {
            const std::lock_guard<std::mutex> lock(mutex);
            peer.builtGeneration = built;
        }
        giveWork(peer);
        return;
    }
    case ktRankMessage::Done: {
        {
            const std::lock_guard<std::mutex> lock(mutex);
            if (!loop || loop->isOver)
                return; // of a loop that was cancelled
            loop->arrived.emplace_back(&peer, std::move(message));
        }
        while (storeArrived()) {
        }
        return;
    }
    case ktRankMessage::GeometryDone:
        storeJob(peer, reader);
        giveWork(peer);
        return;
    case ktRankMessage::Failed:
        lose(peer, "cannot go on: " + reader.getText());
        return;
    default:
        throw ktBadMessage("a message of an unknown kind");
    }
}

// An error in the action ends the loop; nonsense from the rank ends the bake.
void ktRankPool::guarded(const Peer& peer, const std::function<void()>& action) {
    try {
        action();
    } catch (const ktBadMessage& error) {
        lose(peer, std::string("returned nonsense: ") + error.what());
    } catch (...) {
        const std::lock_guard<std::mutex> lock(mutex);
        if (loop && !loop->error)
            loop->error = std::current_exception();
        if (pass && !pass->error)
            pass->error = std::current_exception();
        changed.notify_all();
    }
}

// Stores the next results that have arrived, and gives their rank more to do. With many ranks, one thread cannot do
// this for all, so the threads that trace here help. @return false if there are none
bool ktRankPool::storeArrived() {
    Peer* peer = nullptr;
    std::vector<char> message;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        if (!loop || loop->isOver || loop->arrived.empty())
            return false;
        peer = loop->arrived.front().first;
        message = std::move(loop->arrived.front().second);
        loop->arrived.pop_front();
    }
    guarded(*peer, [&] {
        ktWireReader reader(message);
        reader.get<ktRankMessage>();
        storeResults(*peer, reader);
        giveWork(*peer);
    });
    return true;
}

void ktRankPool::storeResults(Peer& peer, ktWireReader& reader) {
    std::uint64_t ofGeneration = 0;
    std::uint32_t number = 0;
    ktGetBlockName(reader, ofGeneration, number);
    ktRankBlock block;
    Loop* stored = nullptr;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        if (!loop || loop->isOver || loop->generation != ofGeneration)
            return; // of a loop that was cancelled
        const auto found = peer.blocks.find(number);
        if (found == peer.blocks.end())
            throw ktBadMessage("results that nobody asked for");
        block = std::move(found->second);
        peer.blocks.erase(found);
        ++peer.storing;
        peer.lastProgress = Clock::now();
        stored = loop;
        ++stored->inUse;
    }
    std::exception_ptr error;
    const Clock::time_point begin = Clock::now();
    try {
        ktGetResults(reader, block, stored->work->work);
        for (const ktVertexBatch& batch : block.batches)
            stored->work->finish(batch);
    } catch (...) {
        error = std::current_exception();
    }
    {
        const std::lock_guard<std::mutex> lock(mutex);
        peer.statistics.sendingSeconds += secondsSince(begin);
        --peer.storing;
        --stored->inUse;
        if (!error)
            --stored->handedOut;
        changed.notify_all();
    }
    if (error)
        std::rethrow_exception(error);
}

bool ktRankPool::hasScene(const Peer& peer) const {
    return sceneGeneration != 0 && peer.builtGeneration == sceneGeneration;
}

// Takes the items of the next block for a rank, unless it has as many blocks as it may have. The mutex is locked.
bool ktRankPool::take(Peer& peer, ktRankBlock& block, std::uint32_t mostBlocks) {
    if (!loop || loop->isOver || isLost || !hasScene(peer) || peer.blocks.size() + peer.storing >= mostBlocks)
        return false;
    if (!peer.jobs.empty())
        return false; // a block would wait for them
    std::size_t allThreads = ownThreads;
    for (const auto& each : peers)
        allThreads += hasScene(*each) ? each->statistics.threads : 0;
    const std::size_t threads = peer.statistics.threads, next = loop->next, count = loop->work->count;
    const std::size_t batch = loop->batchAt(next);
    const std::size_t rest = (count - std::min(next, count) + batch - 1) / batch;
    const std::uint64_t raysPerBatch = batch * std::uint64_t(loop->work->work.directions->set.count);
    const std::size_t least = threads * ((leastRaysPerThread + raysPerBatch - 1) / raysPerBatch);
    if (!peer.blocks.empty() && rest <= ownThreads)
        return false; // the last batches are for those that have nothing to do
    const std::size_t share = rest * threads / allThreads;
    // A killed rank may lose two blocks: one in work, and one whose results are on their way to the checkpoint.
    const std::size_t most = threads * mostBatchesPerThread / (ktCheckpoint::current() ? 2 : 1);
    const std::size_t batches = std::clamp<std::size_t>(std::max(share / shareOfRest, std::min(least, share)), 1, most);
    const std::size_t begin = loop->next.fetch_add(batches * batch);
    if (begin >= count)
        return false;
    const std::size_t end = std::min(begin + batches * batch, count);
    block.generation = loop->generation;
    block.number = loop->nextBlock++;
    block.batches.resize((end - begin + batch - 1) / batch);
    for (std::size_t i = 0; i < block.batches.size(); ++i) {
        block.batches[i].begin = begin + i * batch;
        block.batches[i].end = std::min(begin + (i + 1) * batch, end);
    }
    if (peer.blocks.empty())
        peer.lastProgress = Clock::now();
    ++loop->handedOut;
    ++loop->inUse;
    return true;
}

// The mutex is locked for the functions below.
void ktRankPool::sendDirections(Peer& peer, const ktPreparedDirections& directions) {
    if (!peer.directions.insert(directions.number).second)
        return;
    ktWireWriter writer = ktBeginMessage(ktRankMessage::Directions);
    ktPutDirections(writer, directions);
    send(peer, ktEndMessage(std::move(writer)));
}

void ktRankPool::sendLight(const ktReflectedLight& light) {
    if (light.direct.directions)
        for (const auto& peer : peers)
            sendDirections(*peer, *light.direct.directions);
    ktWireWriter writer = ktBeginMessage(ktRankMessage::Light);
    ktPutLight(writer, light);
    sendToAll(ktEndMessage(std::move(writer)));
    lightVersion = light.version();
}

// Sends what a rank needs to know before it can trace blocks of a loop. The mutex is locked.
void ktRankPool::join(Peer& peer, const Loop& joined) {
    if (peer.begun == joined.generation)
        return;
    const ktBatchWork& work = joined.work->work;
    sendDirections(peer, *work.directions);
    if (work.light && lightVersion != work.light->version())
        sendLight(*work.light);
    send(peer, joined.begin);
    peer.begun = joined.generation;
}

void ktRankPool::giveWork(Peer& peer) {
    handOut(peer);
    handOutJobs(peer);
}

void ktRankPool::handOut(Peer& peer, std::uint32_t most) {
    while (true) {
        const Clock::time_point begin = Clock::now();
        ktRankBlock block;
        Loop* of = nullptr;
        {
            const std::lock_guard<std::mutex> lock(mutex);
            if (!take(peer, block, most))
                return;
            of = loop;
        }
        std::exception_ptr error;
        try {
            ktWireWriter writer = ktBeginMessage(ktRankMessage::Block);
            ktPutBlockName(writer, block);
            for (ktVertexBatch& batch : block.batches)
                of->work->make(batch);
            ktPutBlock(writer, block, of->work->work);
            ktMessageBytes message = ktEndMessage(std::move(writer));
            const std::lock_guard<std::mutex> lock(mutex);
            join(peer, *of);
            const std::uint32_t number = block.number;
            peer.blocks.emplace(number, std::move(block));
            send(peer, std::move(message));
            peer.statistics.sendingSeconds += secondsSince(begin);
        } catch (...) {
            error = std::current_exception();
        }
        const std::lock_guard<std::mutex> lock(mutex);
        --of->inUse;
        if (error && !of->error)
            of->error = error;
        changed.notify_all();
    }
}

void ktRankPool::traceHere(Loop& joined) {
    const std::size_t count = joined.work->count;
    ktParallel::forRange(ktThreadCount::get(), 1, [&](std::size_t, std::size_t) {
        const Clock::time_point begun = Clock::now();
        std::uint64_t vertices = 0;
        while (!isLost) {
            const std::size_t size = joined.batchAt(joined.next), begin = joined.next.fetch_add(size);
            if (begin >= count)
                break;
            vertices += ktRunBatch(*joined.work, begin, std::min(begin + size, count));
            transport->look();
            while (storeArrived()) {
            }
        }
        const std::lock_guard<std::mutex> lock(mutex);
        self.vertices += vertices;
        self.tracingSeconds += secondsSince(begun);
    });
}

// Forgets a loop that ended early. Waits until the listener does not use it.
void ktRankPool::endLoop(Loop& ended) {
    std::unique_lock<std::mutex> lock(mutex);
    ended.isOver = true;
    changed.wait(lock, [&] { return ended.inUse == 0; });
    loop = nullptr;
    if (ended.handedOut == 0)
        return;
    ktWireWriter writer = ktBeginMessage(ktRankMessage::Cancel);
    writer.put(ended.generation);
    const ktMessageBytes message = ktEndMessage(std::move(writer));
    for (const auto& peer : peers) {
        peer->blocks.clear();
        send(*peer, message);
    }
}

void ktRankPool::run(const ktBatchLoop& work) {
    const std::uint64_t rays = std::uint64_t(work.count) * work.work.directions->set.count;
    if (rays < (lendsAll ? limits.leastRaysNearby : limits.leastRays) * ktThreadCount::get()) {
        ktRunLoop(work, nullptr);
        return;
    }
    Loop own;
    own.work = &work;
    own.batchSize = ktItemsPerBatch(work.work);
    own.leastBatch = std::clamp<std::size_t>(leastRaysPerBatch / work.work.directions->set.count, 1, own.batchSize);
    {
        const std::lock_guard<std::mutex> lock(mutex);
        own.threads = ownThreads = ktThreadCount::get();
        for (const auto& peer : peers)
            own.threads += peer->statistics.threads;
        own.generation = ++generation;
        ktWireWriter writer = ktBeginMessage(ktRankMessage::Begin);
        ktPutLoop(writer, own.generation, work.work);
        own.begin = ktEndMessage(std::move(writer));
        loop = &own;
    }
    try {
        {
            const ktFlushDenormals fast;
            for (std::uint32_t blocks = 1; blocks <= blocksAhead; ++blocks) // the first of each rank before the second
                for (const auto& peer : peers)
                    handOut(*peer, blocks);
        }
        traceHere(own);
        const Waiting waiting(*transport);
        const Clock::time_point waited = Clock::now();
        std::unique_lock<std::mutex> lock(mutex);
        while (own.handedOut > 0 && !own.error && failure.empty()) {
            changed.wait_for(lock, std::chrono::milliseconds(5));
            ktThrowIfCanceled();
        }
        self.waitingSeconds += ownThreads * secondsSince(waited);
        if (own.error)
            std::rethrow_exception(own.error);
        if (!failure.empty())
            throw std::runtime_error(failure);
    } catch (...) {
        endLoop(own);
        throw;
    }
    endLoop(own);
    for (const auto& peer : peers)
        handOutJobs(*peer);
}
