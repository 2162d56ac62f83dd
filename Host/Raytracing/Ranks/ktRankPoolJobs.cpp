// SPDX-License-Identifier: LGPL-2.1-or-later
// Hands out whole geometries of a pass to ranks that no loop needs.
#include "ktRankPass.h"
#include "ktRankPeer.h"
#include "ktThreadCount.h"

#include <algorithm>
#include <limits>

namespace {

constexpr std::size_t jobsAhead = 2; // of a rank: it traces one while the next is on its way

double secondsSince(std::chrono::steady_clock::time_point begin) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

} // namespace

void ktRankPool::beginPass(const ktGeometryPass& how) {
    endPass();
    const std::lock_guard<std::mutex> lock(mutex);
    ownThreads = ktThreadCount::get();
    pass = std::make_unique<Pass>();
    pass->how = how;
    pass->generation = ++generation;
    ktWireWriter writer = ktBeginMessage(ktRankMessage::Pass);
    ktPutPass(writer, pass->generation, how);
    pass->begin = ktEndMessage(std::move(writer));
}

void ktRankPool::endPass() {
    const std::lock_guard<std::mutex> lock(mutex);
    if (!pass)
        return;
    pass.reset();
    try {
        ktWireWriter writer = ktBeginMessage(ktRankMessage::Cancel);
        writer.put(++generation);
        const ktMessageBytes message = ktEndMessage(std::move(writer));
        for (const auto& peer : peers)
            if (!peer->jobs.empty())
                send(*peer, message);
    } catch (const std::bad_alloc&) {
        // Ranks then finish what nobody uses.
    }
    for (const auto& peer : peers)
        peer->jobs.clear();
}

std::uint32_t ktRankPool::allThreads() const {
    const std::lock_guard<std::mutex> lock(mutex);
    std::uint32_t sum = ktThreadCount::get();
    for (const auto& peer : peers)
        sum += peer->statistics.threads;
    return sum;
}

std::uint64_t ktRankPool::largestJob(std::uint64_t raysOfPass) const {
    if (limits.jobsPerRank == 0)
        return std::numeric_limits<std::uint64_t>::max();
    return std::min(raysOfPass / (limits.jobsPerRank * peers.size() + limits.jobsPerRank), limits.mostRaysPerJob);
}

void ktRankPool::addJob(const std::shared_ptr<ktRankJob>& job) {
    {
        const std::lock_guard<std::mutex> lock(mutex);
        if (!pass)
            return;
        job->valueChannels = pass->how.valueChannels();
        job->sampleChannels = job->geometry.triangles->empty() ? 0 : pass->how.sampleChannels();
        pass->waiting.push_back(job);
    }
    for (const auto& peer : peers)
        handOutJobs(*peer);
}

bool ktRankPool::takeBack(ktRankJob& job) {
    const std::lock_guard<std::mutex> lock(mutex);
    if (!pass || job.state != ktRankJob::State::Waiting)
        return false;
    const auto found = std::find_if(pass->waiting.begin(), pass->waiting.end(),
                                    [&job](const auto& waiting) { return waiting.get() == &job; });
    if (found == pass->waiting.end())
        return false;
    pass->waiting.erase(found);
    job.state = ktRankJob::State::Here;
    return true;
}

std::shared_ptr<ktRankJob> ktRankPool::takeBackAny() {
    const std::lock_guard<std::mutex> lock(mutex);
    if (!pass || pass->waiting.empty())
        return nullptr;
    std::shared_ptr<ktRankJob> job = std::move(pass->waiting.front());
    pass->waiting.pop_front();
    job->state = ktRankJob::State::Here;
    return job;
}

void ktRankPool::finishHere(ktRankJob& job, ktGeometryResult&& result, double seconds) {
    const std::lock_guard<std::mutex> lock(mutex);
    if (pass)
        self.vertices += result.verticesTraced(pass->how);
    self.tracingSeconds += seconds;
    if (job.keep)
        job.keep(result);
    job.result = std::move(result);
    job.state = ktRankJob::State::Done;
}

void ktRankPool::countUse(const ktRankJob& job) {
    const std::lock_guard<std::mutex> lock(mutex);
    ++(job.rank == 0 ? self : peers[job.rank - 1]->statistics).geometries;
}

bool ktRankPool::waitFor(const ktRankJob& job, std::chrono::milliseconds longest) {
    const Clock::time_point waited = Clock::now();
    std::unique_lock<std::mutex> lock(mutex);
    const auto hasEnded = [&] {
        return job.state == ktRankJob::State::Done || !failure.empty() || (pass && pass->error);
    };
    if (!hasEnded() && longest.count() > 0) {
        transport->setWaiting(true);
        changed.wait_for(lock, longest, hasEnded);
        transport->setWaiting(false);
        self.waitingSeconds += ownThreads * secondsSince(waited);
    }
    if (!failure.empty())
        throw std::runtime_error(failure);
    if (pass && pass->error)
        std::rethrow_exception(pass->error);
    return job.state == ktRankJob::State::Done;
}

bool ktRankPool::hasJobs() const {
    const std::lock_guard<std::mutex> lock(mutex);
    return pass && (!pass->waiting.empty() ||
                    std::any_of(peers.begin(), peers.end(), [](const auto& peer) { return !peer->jobs.empty(); }));
}

// Takes the next job for a rank that has neither a block nor enough jobs. The mutex is locked.
std::shared_ptr<ktRankJob> ktRankPool::takeJob(Peer& peer) {
    if (!pass || pass->waiting.empty() || isLost || loop || !hasScene(peer) || !peer.blocks.empty() || peer.storing > 0)
        return nullptr;
    // The last jobs are for those that have nothing to do.
    if (peer.jobs.size() >= (pass->waiting.size() > peers.size() ? jobsAhead : 1))
        return nullptr;
    std::shared_ptr<ktRankJob> job = std::move(pass->waiting.front());
    pass->waiting.pop_front();
    job->state = ktRankJob::State::Elsewhere;
    if (peer.jobs.empty())
        peer.lastProgress = Clock::now();
    return job;
}

// Sends a job with what the rank needs to know before. The mutex is locked.
void ktRankPool::sendJob(Peer& peer, std::uint32_t number, ktMessageBytes message) {
    if (!pass || peer.jobs.count(number) == 0)
        return; // the pass has ended
    if (peer.begunPass != pass->generation) {
        const ktGeometryPass& how = pass->how;
        for (const ktPreparedDirections* directions : {how.directions, how.pointDirections, how.insideDirections})
            if (directions)
                sendDirections(peer, *directions);
        if (how.light && lightVersion != how.light->version())
            sendLight(*how.light);
        send(peer, pass->begin);
        peer.begunPass = pass->generation;
    }
    send(peer, std::move(message));
}

void ktRankPool::handOutJobs(Peer& peer) {
    while (true) {
        const Clock::time_point begin = Clock::now();
        std::shared_ptr<ktRankJob> job;
        ktWireWriter writer = ktBeginMessage(ktRankMessage::Geometry);
        std::uint32_t number = 0;
        {
            const std::lock_guard<std::mutex> lock(mutex);
            job = takeJob(peer);
            if (!job)
                return;
            number = nextJob++;
            peer.jobs.emplace(number, job);
            writer.put(pass->generation);
            writer.put(number);
        }
        try {
            ktPutJob(writer, job->geometry);
            ktMessageBytes message = ktEndMessage(std::move(writer));
            const std::lock_guard<std::mutex> lock(mutex);
            sendJob(peer, number, std::move(message));
            peer.statistics.sendingSeconds += secondsSince(begin);
        } catch (...) {
            const std::lock_guard<std::mutex> lock(mutex);
            if (pass)
                pass->error = std::current_exception();
            changed.notify_all();
            return;
        }
    }
}

void ktRankPool::storeJob(Peer& peer, ktWireReader& reader) {
    const auto ofGeneration = reader.get<std::uint64_t>();
    const auto number = reader.get<std::uint32_t>();
    const Clock::time_point begin = Clock::now();
    std::shared_ptr<ktRankJob> job;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        if (!pass || pass->generation != ofGeneration)
            return; // of a pass that has ended
        const auto found = peer.jobs.find(number);
        if (found == peer.jobs.end())
            throw ktBadMessage("a geometry that nobody asked for");
        job = found->second;
    }
    ktGeometryResult result = ktGetResult(reader, job->geometry.vertexCount(), job->valueChannels, job->sampleChannels);
    const std::lock_guard<std::mutex> lock(mutex);
    peer.statistics.sendingSeconds += secondsSince(begin);
    peer.lastProgress = Clock::now();
    if (peer.jobs.erase(number) == 0)
        return; // the pass has ended meanwhile
    if (job->keep)
        job->keep(result);
    job->result = std::move(result);
    job->rank = static_cast<std::size_t>(peer.rank);
    job->state = ktRankJob::State::Done;
    changed.notify_all();
}
