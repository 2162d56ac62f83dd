// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktDirectionSet.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

/// A way to place count x count cosine-weighted directions.
struct ktSampleCandidate {
    std::string name;
    std::function<ktDirectionSet(std::uint32_t count, std::uint64_t seed)> make;
};

/// The sampler of the tracer first, then the alternatives.
std::vector<ktSampleCandidate> ktSampleCandidates();
