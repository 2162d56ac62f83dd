// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktGeometryJob.h"
#include "ktHostExport.h"
#include "ktRankMessages.h"
#include "ktTransport.h"
#include "ktVertexBatch.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

/// What one rank did in all bakes so far. Seconds of tracing and waiting are the sum over its threads.
struct ktRankStatistics {
    std::string host;
    std::uint32_t threads = 0;
    std::uint64_t vertices = 0;   ///< and points that it traced
    std::uint64_t geometries = 0; ///< that it traced as a whole, and that a pass used
    /// The structure: seconds to build it, or to copy that of rank 0.
    double buildSeconds = 0;
    std::uint64_t structureBytes = 0; ///< that it copied; 0: it built the structure
    double tracingSeconds = 0, waitingSeconds = 0;
    double sendingSeconds = 0;                      ///< that rank 0 took to make and read its messages
    std::uint64_t peakMemory_bytes = 0;             ///< of the process; rank 0: unknown
    std::uint64_t bytesSent = 0, bytesReceived = 0; ///< by rank 0, to and from it
};

/// A geometry that a rank traces before the pass asks for it.
struct ktRankJob {
    enum class State { Waiting, Elsewhere, Here, Done };

    ktGeometryJob geometry;
    std::uint64_t rays = 0;                              ///< roughly
    std::uint32_t valueChannels = 0, sampleChannels = 0; ///< of the result
    State state = State::Waiting;                        ///< of the pool, under its mutex
    ktGeometryResult result;                             ///< when it is done
    std::size_t rank = 0;                                ///< that has traced it
    bool isRestored = false;                             ///< nobody has traced it: a checkpoint had it
    /// Keeps the result for a later process; may be null. Called by any thread, while the pass lasts.
    std::function<void(const ktGeometryResult&)> keep;
};

/// The other ranks of a bake, as rank 0 sees them. Shares loops with them: hands out blocks of vertices as ranks become
/// free, and stores the results in place. Results have the same bits with any number of ranks.
class KT_HOST_EXPORT ktRankPool : public ktLoopHelpers {
public:
    struct Limits {
        std::chrono::milliseconds beat{500};         ///< between two signs of life
        std::chrono::milliseconds silence{20'000};   ///< a rank without a sign of life for so long is lost
        std::chrono::milliseconds progress{600'000}; ///< and one that has work and finishes no batch
        std::uint64_t leastRays = 1 << 16;           ///< for each thread of rank 0; smaller loops are not shared
        std::uint64_t leastRaysNearby = 1 << 20;     ///< the same if all other ranks lend their threads to rank 0
        std::uint32_t cores = 0;                     ///< that rank 0 may use; 0: as the system says
        /// A geometry is traced by one rank if it has at most this part of a rank's share of a pass, and not too many
        /// rays for the limits above. 0: any geometry.
        std::uint32_t jobsPerRank = 16;
        std::uint64_t mostRaysPerJob = 1 << 27;
    };

    /// Waits until all ranks have said hello. @param transport_ not null; this is its rank 0
    /// @param hello what this process is: a rank of another version is refused, and one that
    ///              finds other bits with every width of its vector instructions
    /// @throws std::runtime_error with the reason and the rank
    ktRankPool(std::unique_ptr<ktTransport> transport_, const ktRankHello& hello, Limits limits_);
    ktRankPool(std::unique_ptr<ktTransport> transport_, const ktRankHello& hello)
        : ktRankPool(std::move(transport_), hello, Limits()) {}
    /// Tells the ranks to end. Waits for them unless one is lost: then ends them as ktTransport::abort() does, with
    /// exit code 1.
    ~ktRankPool() override;

    /// The lanes that all tracers must use: the most with which all ranks find the same bits. 4, 8 or 16.
    std::uint32_t lanes() const { return commonLanes; }

    /// Threads of other ranks on this machine that work of rank 0 may use outside of run(), because those ranks wait
    /// then. No more than this process has further cores.
    std::uint32_t threadsToBorrow() const { return borrowedThreads; }

    /// Sends the scene to all ranks. With threads to borrow, or on one machine, rank 0 builds the structure for all and
    /// sends it with sendStructure(); otherwise all ranks build it. Worker thread, outside of run().
    /// @param tracer of this process
    void sendScene(const std::vector<ktTracerMesh>& meshes, const ktTracer& tracer);
    /// Sends the structure of the scene that was sent last, unless the ranks build it. Returns when nearly all is sent.
    /// Worker thread, outside of run(). @throws ktCanceled
    void sendStructure(ktTracer& tracer);
    /// The scene is of no use any more: the ranks stop to build its structure, and later loops run here only. Any
    /// thread, outside of run().
    void cancelScene();

    /// Worker thread. @throws ktCanceled, std::runtime_error with the rank and its host if one is lost
    void run(const ktBatchLoop& loop) override;

    /// @name Passes
    /// Ranks that no loop needs trace whole geometries of a pass. Main thread, outside of run().
    /// @{
    /// Begins a pass. What it refers to must live until endPass().
    void beginPass(const ktGeometryPass& pass);
    /// Drops what nobody has asked for. Does not throw. Cheap if there is no pass.
    void endPass();
    /// Adds a geometry of the pass. @param job not null, waiting; the pool sets its result
    void addJob(const std::shared_ptr<ktRankJob>& job);
    /// Takes the job back, so that the caller traces it. @return false if a rank has it, or had it
    bool takeBack(ktRankJob& job);
    /// Takes back the job that was added first. @return null if ranks have all
    std::shared_ptr<ktRankJob> takeBackAny();
    /// Says that the caller has traced a job that it had taken back. @param seconds of its threads
    void finishHere(ktRankJob& job, ktGeometryResult&& result, double seconds);
    /// Counts a result that the pass uses.
    void countUse(const ktRankJob& job);
    /// Waits until the job is done. @return whether it is @throws std::runtime_error if a rank is lost
    bool waitFor(const ktRankJob& job, std::chrono::milliseconds longest);
    /// Whether ranks trace geometries now, or will soon.
    bool hasJobs() const;
    /// The largest geometry that one rank traces, in rays. @param raysOfPass all
    std::uint64_t largestJob(std::uint64_t raysOfPass) const;
    /// Threads of all ranks.
    std::uint32_t allThreads() const;
    int rankCount() const { return transport->size(); }
    /// @}

    /// Entry 0 is this process: what the shared loops traced here.
    std::vector<ktRankStatistics> statistics() const;
    /// Whether a rank is lost: no loop can run any more.
    bool hasFailed() const;

    /// The pool that all calculations of this process use; null if there is none. The application sets it, on the main
    /// thread, while nothing is calculated.
    static ktRankPool* current() noexcept;
    static void setCurrent(ktRankPool* pool) noexcept;

private:
    struct Peer;
    struct Loop;
    struct Pass;
    static constexpr std::uint32_t blocksAhead = 2; // of a rank: it traces one while the next is on its way
    using Clock = std::chrono::steady_clock;

    void meetAll(const ktRankHello& hello);
    void start(const ktRankHello& hello);
    void listen();
    void handle(Peer& peer, std::vector<char>&& message);
    void guarded(const Peer& peer, const std::function<void()>& action);
    bool storeArrived();
    void storeResults(Peer& peer, ktWireReader& reader);
    void watch();
    void giveWork(Peer& peer);
    void handOut(Peer& peer, std::uint32_t most = blocksAhead);
    void handOutJobs(Peer& peer);
    std::shared_ptr<ktRankJob> takeJob(Peer& peer);
    void sendJob(Peer& peer, std::uint32_t number, ktMessageBytes message);
    void storeJob(Peer& peer, ktWireReader& reader);
    bool hasScene(const Peer& peer) const;
    bool take(Peer& peer, ktRankBlock& block, std::uint32_t mostBlocks);
    void join(Peer& peer, const Loop& joined);
    void traceHere(Loop& joined);
    void endLoop(Loop& ended);
    void send(Peer& peer, ktMessageBytes message);
    void sendToAll(const ktMessageBytes& message);
    void sendDirections(Peer& peer, const ktPreparedDirections& directions);
    void sendLight(const ktReflectedLight& light);
    void lose(const Peer& peer, const std::string& reason);
    std::string nameOf(const Peer& peer) const;

    const std::unique_ptr<ktTransport> transport;
    const Limits limits;
    std::uint32_t ownThreads = 1;
    std::uint32_t commonLanes = 16;
    std::uint32_t borrowedThreads = 0;
    bool isOneMachine = false;
    bool lendsAll = false;                    // all threads of the other ranks can be borrowed
    bool sendsStructure = false;              // of the scene
    std::vector<std::unique_ptr<Peer>> peers; // by rank - 1
    ktRankStatistics self;
    mutable std::mutex mutex; // for all below and the peers
    std::condition_variable changed;
    std::uint64_t generation = 0, sceneGeneration = 0;
    std::uint64_t lightVersion = 0;  // of the reflected light that all ranks have
    Loop* loop = nullptr;            // the one that runs
    std::unique_ptr<Pass> pass;      // null: none
    std::uint32_t nextJob = 0;       // number
    std::string failure;             // why a rank is lost; empty: none is
    std::atomic<bool> isLost{false}; // the same
    bool isEnding = false;
    std::thread listener;
};
