// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

// Sixteen lanes in one AVX-512 register. ktSimd4.h says what the functions do.

namespace KT_ISA {

template <>
struct Mask<16> {
    __mmask16 m;
    friend KT_INLINE Mask operator&(Mask a, Mask b) { return {static_cast<__mmask16>(a.m & b.m)}; }
    friend KT_INLINE Mask operator|(Mask a, Mask b) { return {static_cast<__mmask16>(a.m | b.m)}; }
    KT_INLINE std::uint32_t bits() const { return m; }
};

template <>
struct Float<16> {
    __m512 v;
    KT_INLINE Float() = default;
    KT_INLINE Float(__m512 x) : v(x) {}
    KT_INLINE Float(float all) : v(_mm512_set1_ps(all)) {}
    static KT_INLINE Float load(const float* p) { return _mm512_load_ps(p); }
    KT_INLINE void store(float* p) const { _mm512_store_ps(p, v); }
    friend KT_INLINE Float operator+(Float a, Float b) { return _mm512_add_ps(a.v, b.v); }
    friend KT_INLINE Float operator-(Float a, Float b) { return _mm512_sub_ps(a.v, b.v); }
    friend KT_INLINE Float operator*(Float a, Float b) { return _mm512_mul_ps(a.v, b.v); }
    friend KT_INLINE Float operator/(Float a, Float b) { return _mm512_div_ps(a.v, b.v); }
    friend KT_INLINE Float min(Float a, Float b) { return _mm512_min_ps(a.v, b.v); }
    friend KT_INLINE Float max(Float a, Float b) { return _mm512_max_ps(a.v, b.v); }
    friend KT_INLINE Float mulAdd(Float a, Float b, Float c) { return _mm512_fmadd_ps(a.v, b.v, c.v); }
    friend KT_INLINE Float mulSub(Float a, Float b, Float c) { return _mm512_fmsub_ps(a.v, b.v, c.v); }
    friend KT_INLINE Mask<16> operator<(Float a, Float b) { return {_mm512_cmp_ps_mask(a.v, b.v, _CMP_LT_OQ)}; }
    friend KT_INLINE Mask<16> operator<=(Float a, Float b) { return {_mm512_cmp_ps_mask(a.v, b.v, _CMP_LE_OQ)}; }
    friend KT_INLINE Float select(Mask<16> m, Float a, Float b) { return _mm512_mask_blend_ps(m.m, b.v, a.v); }
    friend KT_INLINE Float signBit(Float a) { return _mm512_and_ps(a.v, _mm512_set1_ps(-0.0f)); }
    friend KT_INLINE Float flipSign(Float a, Float sign) { return _mm512_xor_ps(a.v, sign.v); }
    friend KT_INLINE float reduceMax(Float a) {
        return reduceMax(max(Float<8>(_mm512_castps512_ps256(a.v)), Float<8>(_mm512_extractf32x8_ps(a.v, 1))));
    }
    friend KT_INLINE Float mergeBits(Float a, std::uint32_t keep, Float tags) {
        const __m512 kept = _mm512_and_ps(a.v, _mm512_castsi512_ps(_mm512_set1_epi32(static_cast<int>(keep))));
        return _mm512_or_ps(kept, tags.v);
    }
};

} // namespace KT_ISA
