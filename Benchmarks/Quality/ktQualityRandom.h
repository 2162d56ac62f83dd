// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstdint>

/// Random numbers that are equal on every machine: SplitMix64 (Guy L. Steele Jr., Doug Lea, Christine H. Flood: Fast
/// Splittable Pseudorandom Number Generators, 2014). The streams of different numbers are independent.
class ktQualityRandom {
public:
    explicit ktQualityRandom(std::uint64_t seed, std::uint64_t stream = 0)
        : state(mix(seed + step) ^ mix(~stream * step)) {}

    std::uint64_t bits() { return mix(state += step); }
    /// From 0 to 1, without 1.
    double next() { return static_cast<double>(bits() >> 11) * 0x1p-53; }
    /// The same with 24 bits.
    float nextFloat() { return static_cast<float>(bits() >> 40) * 0x1p-24f; }

    static std::uint64_t mix(std::uint64_t value) {
        value = (value ^ (value >> 30)) * 0xBF58476D1CE4E5B9ull;
        value = (value ^ (value >> 27)) * 0x94D049BB133111EBull;
        return value ^ (value >> 31);
    }

private:
    static constexpr std::uint64_t step = 0x9E3779B97F4A7C15ull;
    std::uint64_t state;
};
