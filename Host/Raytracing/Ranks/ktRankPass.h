// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktRankPool.h"

#include <deque>

/// The pass whose geometries ranks trace as a whole.
struct ktRankPool::Pass {
    ktGeometryPass how;
    std::uint64_t generation = 0;
    ktMessageBytes begin;
    std::deque<std::shared_ptr<ktRankJob>> waiting; // that nobody has taken
    std::exception_ptr error;                       // of a job that could not be sent
};
