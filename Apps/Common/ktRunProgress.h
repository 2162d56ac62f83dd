// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktRunCounter.h"

#include <cstdint>
#include <string>

/// What a run is doing.
enum class ktRunPhase { Preparing, Shadows, Bounces };

/// Share, rate and remaining time of a run, from what its counter has counted.
class ktRunProgress {
public:
    /// @param counter     of the run; must outlive this object
    /// @param vertexCount vertices that a pass is expected to trace; 0: unknown, then counts nodes
    ktRunProgress(const ktRunCounter& counter_, std::uint64_t vertexCount_)
        : counter(counter_), vertexCount(vertexCount_) {}

    ktRunPhase phase() const;
    /// 0 to 0.99: only the end of the run is 1.
    double share() const;
    double verticesPerSecond() const; ///< since the first vertex; 0: not known yet
    double secondsLeft() const;       ///< negative: not known yet

private:
    const ktRunCounter& counter;
    const std::uint64_t vertexCount;
};

/// Minutes and seconds, with hours if needed: "0:07", "12:34", "1:02:03".
std::string formatDuration(double seconds);
/// Three significant digits and a unit: "999", "1.23 k", "45.6 M", "7.89 G".
std::string formatCount(double count);
