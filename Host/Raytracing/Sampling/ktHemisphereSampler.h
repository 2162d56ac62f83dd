// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktDirectionSet.h"

#include <cstdint>

/// Makes countU times countV cosine-weighted directions: one in each stratum of a grid of countU rings and countV
/// sectors of equal weight, so placed inside their strata that each of the countU * countV finer columns, and rows, of
/// the square holds exactly one of them (A. Kensler, "Correlated Multi-Jittered Sampling", 2013). On top of that order
/// a sample moves at random by `jitterU`, `jitterV` of its stratum, but never out of its fine column and row, so
/// that jitter cannot spoil the order.
/// Directions lie in tiles of sixteen neighbours. The same arguments give the same directions on every machine that
/// rounds alike.
/// @param countU, countV at least 1
/// @param jitterU, jitterV 0 to 1; other values count as the nearest, NaN as 0
/// @throws std::bad_alloc
ktDirectionSet ktMakeHemisphereDirections(std::uint32_t countU, std::uint32_t countV, float jitterU, float jitterV,
                                          std::uint64_t seed);
