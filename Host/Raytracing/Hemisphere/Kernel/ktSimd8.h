// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

// Eight lanes in one AVX2 register, with fused multiply-add. ktSimd4.h says what the functions do. Masks are vectors
// even with AVX-512: in mask registers, each comparison would wait for the one before.

namespace KT_ISA {

template <>
struct Mask<8> {
    __m256 m;
    friend KT_INLINE Mask operator&(Mask a, Mask b) { return {_mm256_and_ps(a.m, b.m)}; }
    friend KT_INLINE Mask operator|(Mask a, Mask b) { return {_mm256_or_ps(a.m, b.m)}; }
    KT_INLINE std::uint32_t bits() const { return static_cast<std::uint32_t>(_mm256_movemask_ps(m)); }
};

template <>
struct Float<8> {
    __m256 v;
    KT_INLINE Float() = default;
    KT_INLINE Float(__m256 x) : v(x) {}
    KT_INLINE Float(float all) : v(_mm256_set1_ps(all)) {}
    KT_INLINE Float(Float<4> low, Float<4> high) : v(_mm256_insertf128_ps(_mm256_castps128_ps256(low.v), high.v, 1)) {}
    static KT_INLINE Float load(const float* p) { return _mm256_load_ps(p); }
    KT_INLINE void store(float* p) const { _mm256_store_ps(p, v); }
    friend KT_INLINE Float operator+(Float a, Float b) { return _mm256_add_ps(a.v, b.v); }
    friend KT_INLINE Float operator-(Float a, Float b) { return _mm256_sub_ps(a.v, b.v); }
    friend KT_INLINE Float operator*(Float a, Float b) { return _mm256_mul_ps(a.v, b.v); }
    friend KT_INLINE Float operator/(Float a, Float b) { return _mm256_div_ps(a.v, b.v); }
    friend KT_INLINE Float min(Float a, Float b) { return _mm256_min_ps(a.v, b.v); }
    friend KT_INLINE Float max(Float a, Float b) { return _mm256_max_ps(a.v, b.v); }
    friend KT_INLINE Float mulAdd(Float a, Float b, Float c) { return _mm256_fmadd_ps(a.v, b.v, c.v); }
    friend KT_INLINE Float mulSub(Float a, Float b, Float c) { return _mm256_fmsub_ps(a.v, b.v, c.v); }
    friend KT_INLINE Mask<8> operator<(Float a, Float b) { return {_mm256_cmp_ps(a.v, b.v, _CMP_LT_OQ)}; }
    friend KT_INLINE Mask<8> operator<=(Float a, Float b) { return {_mm256_cmp_ps(a.v, b.v, _CMP_LE_OQ)}; }
    friend KT_INLINE Float select(Mask<8> m, Float a, Float b) { return _mm256_blendv_ps(b.v, a.v, m.m); }
    friend KT_INLINE Float signBit(Float a) { return _mm256_and_ps(a.v, _mm256_set1_ps(-0.0f)); }
    friend KT_INLINE Float flipSign(Float a, Float sign) { return _mm256_xor_ps(a.v, sign.v); }
    friend KT_INLINE Float abs(Float a) { return _mm256_andnot_ps(_mm256_set1_ps(-0.0f), a.v); }
    friend KT_INLINE Float orBits(Float a, Mask<8> m, std::uint32_t bits) {
        const __m256 b = _mm256_castsi256_ps(_mm256_set1_epi32(static_cast<int>(bits)));
        return _mm256_or_ps(a.v, _mm256_and_ps(m.m, b));
    }
    friend KT_INLINE float reduceMax(Float a) {
        return reduceMax(max(Float<4>(_mm256_castps256_ps128(a.v)), Float<4>(_mm256_extractf128_ps(a.v, 1))));
    }
    friend KT_INLINE Float mergeBits(Float a, std::uint32_t keep, Float tags) {
        const __m256 kept = _mm256_and_ps(a.v, _mm256_castsi256_ps(_mm256_set1_epi32(static_cast<int>(keep))));
        return _mm256_or_ps(kept, tags.v);
    }
};

} // namespace KT_ISA
