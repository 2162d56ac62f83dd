// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktRankPool.h"

#include <map>

/// What rank 0 knows of another rank.
struct ktRankPool::Peer {
    int rank = 0;
    bool hasMet = false;
    std::uint64_t builtGeneration = 0;                        // of the scene whose structure it has
    std::uint64_t begun = 0;                                  // generation of the loop that it knows
    std::set<std::uint64_t> directions;                       // numbers of those that it has
    std::map<std::uint32_t, ktRankBlock> blocks;              // handed out
    std::size_t storing = 0;                                  // blocks whose results are being stored
    std::uint64_t begunPass = 0;                              // generation of the pass that it knows
    std::map<std::uint32_t, std::shared_ptr<ktRankJob>> jobs; // handed out
    Clock::time_point lastHeard, lastProgress;
    std::uint64_t process = 0;
    std::uint64_t fingerprints[3] = {0, 0, 0};
    ktRankStatistics statistics;
};
