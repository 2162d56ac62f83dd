// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktDirectionSet.h"
#include "ktTracer.h"

#include <memory>

/// What createSampler() returns: a direction set, and the tables of the tracer for it.
class ktSampler {
public:
    ktSampler(ktDirectionSet set, const ktTracer& tracer)
        : directions(std::move(set)), prepared(tracer.prepareDirections(directions)) {}
    ktSampler(const ktSampler&) = delete;
    ktSampler& operator=(const ktSampler&) = delete;

    const ktDirectionSet directions;
    const std::unique_ptr<ktPreparedDirections> prepared;
};
