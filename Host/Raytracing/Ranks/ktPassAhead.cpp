// SPDX-License-Identifier: LGPL-2.1-or-later
// Plans which geometries of a pass are traced before the pass asks for them.
#include "ktPassAhead.h"

#include "ktCancelPoint.h"
#include "ktCheckpoint.h"
#include "ktThreadCount.h"
#include "ktWaitHooks.h"
#include "ktWorkers.h"

#include <algorithm>
#include <utility>

namespace {

constexpr std::uint64_t raysPerThread = 1 << 23; // that are traced ahead; a quarter of a second
constexpr std::size_t jobsPerRank = 4;           // likewise, at least
constexpr int mostSurprises = 2;                 // of a pass
constexpr std::uint64_t earlyFactor = 4;         // geometries may be so much larger if enough follows
constexpr std::uint64_t leastRest = 2;           // times a geometry's time that every rank has left then
constexpr std::size_t none = ~std::size_t(0);

} // namespace

void ktPassAhead::begin(ktRankPool& pool_, std::vector<Planned> plan_, MakeJob makeJob_) {
    end();
    begun = true;
    if (plan_.size() < 2)
        return;
    pool = &pool_;
    plan = std::move(plan_);
    makeJob = std::move(makeJob_);
    for (std::size_t i = 0; i < plan.size(); ++i)
        indices.emplace(plan[i].geometry, i);
    mostWindowRays = raysPerThread * pool->allThreads();
}

void ktPassAhead::end() {
    if (hasPass && pool == ktRankPool::current()) // otherwise there is no pool any more
        pool->endPass();
    *this = ktPassAhead();
}

std::size_t ktPassAhead::indexOf(std::uint32_t geometry) const {
    const auto found = indices.find(geometry);
    return found == indices.end() ? none : found->second;
}

bool ktPassAhead::isJob(std::size_t index) const {
    const std::uint64_t vertices = plan[index].vertices, rays = vertices * how.directions->set.count;
    const bool isEarly = vertices * leastRest <= verticesAfter[index] / shares;
    return vertices > 0 && rays <= (isEarly ? mostEarlyRays : mostRays);
}

// Adds geometries to the window, from the first on, until it is full.
void ktPassAhead::fill(std::size_t first) {
    next = std::max(next, first);
    const std::size_t leastJobs = jobsPerRank * static_cast<std::size_t>(pool->rankCount());
    for (; next < plan.size() && (windowRays < mostWindowRays || window.size() < leastJobs); ++next) {
        if (!isJob(next))
            continue;
        if (const std::shared_ptr<ktRankJob> job = makeJob(next)) {
            job->rays = plan[next].vertices * how.directions->set.count;
            windowRays += job->rays;
            window.emplace(next, job);
            if (!restore(*job))
                pool->addJob(job);
        }
    }
}

// Takes the light of a job from the checkpoint. If it has none, the checkpoint will keep it when it is traced.
bool ktPassAhead::restore(ktRankJob& job) const {
    ktCheckpoint* const checkpoint = ktCheckpoint::current();
    if (!checkpoint)
        return false;
    const std::uint64_t hash = checkpoint->hashOf(how, job.geometry);
    if (std::optional<ktGeometryResult> known = checkpoint->restore(hash, how, job.geometry)) {
        job.result = std::move(*known);
        job.state = ktRankJob::State::Done;
        job.isRestored = true;
        return true;
    }
    job.keep = [checkpoint, hash](const ktGeometryResult& result) { checkpoint->keep(hash, result); };
    return false;
}

void ktPassAhead::traceHere(ktRankJob& job, ktEventPump& pump) {
    ktGeometryResult result;
    const auto start = std::chrono::steady_clock::now();
    {
        const ktWorkers::OwnThreadsOnly ownThreads;
        ktWorkers::run([&] { result = ktTraceGeometry(how, job.geometry); }, pump);
    }
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    pool->finishHere(job, std::move(result), took.count() * ktThreadCount::get());
}

// Returns when the job is done.
void ktPassAhead::finish(ktRankJob& job, ktEventPump& pump) {
    if (pool->takeBack(job)) {
        traceHere(job, pump);
        return;
    }
    while (!pool->waitFor(job, std::chrono::milliseconds(0))) {
        ktThrowIfCanceled();
        if (const std::shared_ptr<ktRankJob> other = pool->takeBackAny()) {
            traceHere(*other, pump);
            continue;
        }
        {
            const ktWaitHooks::Wait wait;
            if (pool->waitFor(job, ktEventPump::interval))
                break;
        }
        pump.handleEvents();
    }
    pump.handleEventsIfDue();
}

std::optional<ktGeometryResult> ktPassAhead::take(std::uint32_t geometry, const ktGeometryPass& pass,
                                                  const ktVertexTask& task, const std::uint32_t* shared,
                                                  ktEventPump& pump) {
    const std::size_t index = pool ? indexOf(geometry) : none;
    if (index == none)
        return {};
    if (!hasPass) {
        std::uint64_t vertices = 0;
        verticesAfter.resize(plan.size());
        for (std::size_t i = plan.size(); i-- > 0; vertices += plan[i].vertices)
            verticesAfter[i] = vertices;
        shares = std::max<std::uint64_t>(pool->allThreads() / ktThreadCount::get(), 1);
        how = pass;
        mostRays = pool->largestJob(vertices * how.directions->set.count);
        mostEarlyRays = pool->largestJob(earlyFactor * vertices * how.directions->set.count);
        pool->beginPass(how);
        hasPass = true;
    }
    const bool isExpected = index == expected;
    surprises += isExpected || window.count(index) > 0 ? 0 : 1;
    expected = index + 1;
    if (surprises > mostSurprises || !how.isEqualTo(pass)) {
        end();
        begun = true;
        return {};
    }
    if (isExpected)
        fill(index);
    const auto found = window.find(index);
    if (found == window.end())
        return {};
    const std::shared_ptr<ktRankJob> job = std::move(found->second);
    window.erase(found);
    windowRays -= job->rays;
    if (!job->geometry.isOf(task, shared))
        return {};
    finish(*job, pump);
    if (!job->isRestored)
        pool->countUse(*job);
    return std::move(job->result);
}
