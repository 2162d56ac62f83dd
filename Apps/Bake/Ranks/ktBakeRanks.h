// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktBakeLauncher.h"
#include "ktBakeOptions.h"

#include <memory>
#include <optional>

class ktRankPool;

/// The ranks of a bake that a launcher has started. On rank 0, all calculations share their work with the other ranks
/// while this object lives.
class ktBakeRanks {
public:
    explicit ktBakeRanks(const ktBakeLauncher& launcher);
    ~ktBakeRanks();

    /// Joins the ranks, unless there is only one or `--ranks off` is given. Rank 0 returns when all ranks are ready,
    /// the others when rank 0 has ended. Uses the options for threads and tracer.
    /// @return empty if the bake goes on in this process; else the exit code. An error is logged
    std::optional<int> join(const ktBakeOptions& options);
    /// Ends the other ranks, if there are any. If one is lost, ends this process, too, with exit code 1: the last thing
    /// to do.
    void end();

private:
    const ktBakeLauncher launcher;
    std::unique_ptr<ktRankPool> pool; // only on rank 0
};
