// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

// Sixteen floats of which eight lanes each pick one. Reads all sixteen, wherever the table's own end is.

#include "ktSimd.h"

namespace KT_ISA {

#if defined(__AVX512F__) && defined(__AVX512DQ__) && defined(__AVX512VL__)

/// Which float each lane picks: eight numbers below 16.
struct Picks {
    __m512i number;
    explicit KT_INLINE Picks(const std::uint8_t* numbers)
        : number(_mm512_castsi256_si512(
              _mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(numbers))))) {}
};

struct Table {
    __m512 all;
    explicit KT_INLINE Table(const float* p) : all(_mm512_loadu_ps(p)) {}
    KT_INLINE Float<8> operator[](Picks picks) const {
        return _mm512_castps512_ps256(_mm512_permutexvar_ps(picks.number, all));
    }
};

#elif defined(__AVX2__) && defined(__FMA__)

struct Picks {
    __m256i number;
    __m256 isHigh; // by the sign
    explicit KT_INLINE Picks(const std::uint8_t* numbers)
        : number(_mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(numbers)))),
          isHigh(_mm256_castsi256_ps(_mm256_slli_epi32(number, 28))) {}
};

struct Table {
    __m256 low, high;
    explicit KT_INLINE Table(const float* p) : low(_mm256_loadu_ps(p)), high(_mm256_loadu_ps(p + 8)) {}
    KT_INLINE Float<8> operator[](Picks picks) const {
        return _mm256_blendv_ps(_mm256_permutevar8x32_ps(low, picks.number),
                                _mm256_permutevar8x32_ps(high, picks.number), picks.isHigh);
    }
};

#else

struct Picks {
    const std::uint8_t* number;
    explicit KT_INLINE Picks(const std::uint8_t* numbers) : number(numbers) {}
};

struct Table {
    const float* all;
    explicit KT_INLINE Table(const float* p) : all(p) {}
    KT_INLINE Float<8> operator[](Picks picks) const {
        alignas(32) float picked[8];
        for (int lane = 0; lane < 8; ++lane)
            picked[lane] = all[picks.number[lane]];
        return Float<8>::load(picked);
    }
};

#endif

} // namespace KT_ISA
