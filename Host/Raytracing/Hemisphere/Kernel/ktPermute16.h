// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

// permute16: each of eight lanes picks one of sixteen floats. All sixteen are read, even if fewer are in use.

#include "ktSimd.h"

namespace KT_ISA {

#if defined(__AVX512F__) && defined(__AVX512DQ__) && defined(__AVX512VL__)

/// The index that each lane picks: eight numbers below 16.
struct Indices8 {
    __m512i index;
    explicit KT_INLINE Indices8(const std::uint8_t* indices)
        : index(_mm512_castsi256_si512(
              _mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(indices))))) {}
};

struct Floats16 {
    __m512 all;
    explicit KT_INLINE Floats16(const float* p) : all(_mm512_loadu_ps(p)) {}
};

KT_INLINE Float<8> permute16(Floats16 floats, Indices8 indices) {
    return _mm512_castps512_ps256(_mm512_permutexvar_ps(indices.index, floats.all));
}

#elif defined(__AVX2__) && defined(__FMA__)

struct Indices8 {
    __m256i index;
    __m256 isHigh; // index is 8 or more, in the sign bit
    explicit KT_INLINE Indices8(const std::uint8_t* indices)
        : index(_mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(indices)))),
          isHigh(_mm256_castsi256_ps(_mm256_slli_epi32(index, 28))) {}
};

struct Floats16 {
    __m256 low, high;
    explicit KT_INLINE Floats16(const float* p) : low(_mm256_loadu_ps(p)), high(_mm256_loadu_ps(p + 8)) {}
};

KT_INLINE Float<8> permute16(Floats16 floats, Indices8 indices) {
    return _mm256_blendv_ps(_mm256_permutevar8x32_ps(floats.low, indices.index),
                            _mm256_permutevar8x32_ps(floats.high, indices.index), indices.isHigh);
}

#else

struct Indices8 {
    const std::uint8_t* index;
    explicit KT_INLINE Indices8(const std::uint8_t* indices) : index(indices) {}
};

struct Floats16 {
    const float* all;
    explicit KT_INLINE Floats16(const float* p) : all(p) {}
};

KT_INLINE Float<8> permute16(Floats16 floats, Indices8 indices) {
    alignas(32) float picked[8];
    for (int lane = 0; lane < 8; ++lane)
        picked[lane] = floats.all[indices.index[lane]];
    return Float<8>::load(picked);
}

#endif

} // namespace KT_ISA
