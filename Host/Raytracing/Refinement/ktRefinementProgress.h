// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstddef>
#include <mutex>
#include <utility>
#include <vector>

/// Progress of a refinement, which one thread makes and another reports. A round that ends before anyone looks is
/// reported, too.
class ktRefinementProgress {
public:
    /// What is known when a round begins, or now.
    struct State {
        int round = 0; ///< counted from 1; 0: none has begun
        int rounds = 0;
        std::size_t newVertices = 0;
    };

    void setRounds(int rounds) {
        const std::lock_guard<std::mutex> lock(mutex);
        now.rounds = rounds;
    }
    /// Has no effect if this round or a later one has begun.
    void beginRound(int round) {
        const std::lock_guard<std::mutex> lock(mutex);
        if (round <= now.round)
            return;
        now.round = round;
        unreported.push_back(now);
    }
    void setNewVertices(std::size_t count) {
        const std::lock_guard<std::mutex> lock(mutex);
        now.newVertices = count;
    }
    std::size_t getNewVertices() const {
        const std::lock_guard<std::mutex> lock(mutex);
        return now.newVertices;
    }
    /// The beginning of each round since the last call, then the state now.
    std::vector<State> takeStates() {
        const std::lock_guard<std::mutex> lock(mutex);
        std::vector<State> states = std::exchange(unreported, {});
        states.push_back(now);
        return states;
    }

private:
    mutable std::mutex mutex;
    State now;
    std::vector<State> unreported;
};
