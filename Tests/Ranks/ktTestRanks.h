// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHemisphereTracer.h"
#include "ktRankPool.h"
#include "ktRankServer.h"
#include "ktThreadTransport.h"

#include <functional>
#include <thread>

/// What all ranks of a test say of themselves.
inline ktRankHello ktTestHello(const std::string& host) {
    ktRankHello hello;
    hello.version = "1";
    for (std::uint64_t& fingerprint : hello.fingerprints)
        fingerprint = 42;
    hello.host = host;
    hello.process = 7;
    hello.threads = 2;
    return hello;
}

inline ktRankPool::Limits ktTestLimits() {
    ktRankPool::Limits limits;
    limits.beat = std::chrono::milliseconds(20);
    limits.leastRays = limits.leastRaysNearby = 0;
    return limits;
}

/// Ranks that are threads of this process, and the pool that shares loops with them. All calculations use it while this
/// object lives.
class ktTestRanks {
public:
    /// What a rank runs; it ends when rank 0 says so.
    using Serve = std::function<void(ktTransport&)>;

    /// @param size with rank 0
    explicit ktTestRanks(int size, const Serve& serve = serveRank, ktRankPool::Limits limits = ktTestLimits()) {
        std::vector<std::unique_ptr<ktThreadTransport>> transports = ktThreadTransport::makeAll(size);
        for (int rank = 1; rank < size; ++rank)
            threads.emplace_back([serve, transport = std::shared_ptr<ktThreadTransport>(std::move(
                                             transports[static_cast<std::size_t>(rank)]))] { serve(*transport); });
        try {
            pool = std::make_unique<ktRankPool>(std::move(transports[0]), ktTestHello("here"), limits);
        } catch (...) {
            join();
            throw;
        }
        ktRankPool::setCurrent(pool.get());
    }
    ~ktTestRanks() {
        ktRankPool::setCurrent(nullptr);
        pool.reset();
        join();
    }

    static void serveRank(ktTransport& transport) {
        serveAs(ktTestHello("host" + std::to_string(transport.rank())))(transport);
    }
    /// On the machine of rank 0.
    static void serveNearby(ktTransport& transport) { serveAs(ktTestHello("here"))(transport); }
    static Serve serveAs(const ktRankHello& hello) {
        return [hello](ktTransport& transport) {
            ktRankServerOptions options;
            options.self = hello;
            options.makeTracer = [](std::uint32_t lanes) { return std::make_unique<ktHemisphereTracer>(lanes); };
            options.setCanceled = [](bool) {}; // rank 0 is in the same process and has the same token
            options.beat = std::chrono::milliseconds(20);
            ktServeRank(transport, options);
        };
    }

    std::unique_ptr<ktRankPool> pool;

private:
    void join() {
        for (std::thread& thread : threads)
            thread.join();
    }
    std::vector<std::thread> threads;
};
