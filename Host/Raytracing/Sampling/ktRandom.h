// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstdint>

/// A small random generator that gives the same numbers on every machine (G. L. Steele, D. Lea, C. H. Flood, "Fast
/// Splittable Pseudorandom Number Generators", 2014).
class ktRandom {
public:
    explicit ktRandom(std::uint64_t seed) : state(seed) {}

    /// Mixes the bits of a number: neighbouring numbers give unrelated results.
    static std::uint64_t mix(std::uint64_t x) {
        x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9ull;
        x = (x ^ (x >> 27)) * 0x94D049BB133111EBull;
        return x ^ (x >> 31);
    }

    /// Adds a number to a hash.
    static std::uint64_t combine(std::uint64_t hash, std::uint64_t number) { return mix(hash + step + number); }

    /// Uniform in [0, 1), if all bits are random.
    static double toUniform(std::uint64_t bits) { return static_cast<double>(bits >> 11) * (1.0 / 9007199254740992.0); }

    std::uint64_t next() { return mix(state += step); }
    /// Uniform in [0, 1).
    double nextUniform() { return toUniform(next()); }
    /// Uniform in [0, bound); `bound` is at least 1.
    std::uint32_t nextBelow(std::uint32_t bound) { return static_cast<std::uint32_t>(((next() >> 32) * bound) >> 32); }

private:
    static constexpr std::uint64_t step = 0x9E3779B97F4A7C15ull;

    std::uint64_t state;
};
