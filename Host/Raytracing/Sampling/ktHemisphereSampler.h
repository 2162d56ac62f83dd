// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktDirectionSet.h"

#include <cstdint>

/// Makes countU * countV cosine-weighted directions: one in each stratum of a grid of countU rings and countV sectors
/// of equal weight. The strata are divided further: the square has countU * countV fine columns and as many fine rows.
/// Each of them holds exactly one sample (A. Kensler, "Correlated Multi-Jittered Sampling", 2013).
/// Jitter moves a sample at random by up to `jitterU`, `jitterV` of its stratum, but never out of its fine column and
/// fine row.
/// Each tile holds sixteen neighbouring directions. The same arguments give the same directions on every machine with
/// the same rounding.
/// @param countU, countV at least 1
/// @param jitterU, jitterV 0 to 1; other values are clamped, NaN is 0
/// @throws std::bad_alloc
ktDirectionSet ktMakeHemisphereDirections(std::uint32_t countU, std::uint32_t countV, float jitterU, float jitterV,
                                          std::uint64_t seed);
