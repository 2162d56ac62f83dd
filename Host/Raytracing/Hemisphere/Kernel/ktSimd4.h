// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

// Four lanes in an SSE2 register; without SSE2, in the compiler's vector type.
// Comparisons with NaN are false. min() and max() return their second argument if one is NaN.
//   signBit(a)          the sign bit only           flipSign(a, s)          a with its sign flipped where s is negative
//   orBits(a, m, bits)  sets `bits` where m is set  mergeBits(a, keep, b)   the bits `keep` of a, and all bits of b
//   reduceMax(a)        largest lane

#if defined(__SSE2__)
#include <immintrin.h>
#endif

namespace KT_ISA {

#if defined(__SSE2__)

template <>
struct Mask<4> {
    __m128 m;
    friend KT_INLINE Mask operator&(Mask a, Mask b) { return {_mm_and_ps(a.m, b.m)}; }
    friend KT_INLINE Mask operator|(Mask a, Mask b) { return {_mm_or_ps(a.m, b.m)}; }
    KT_INLINE std::uint32_t bits() const { return static_cast<std::uint32_t>(_mm_movemask_ps(m)); }
};

template <>
struct Float<4> {
    __m128 v;
    KT_INLINE Float() = default;
    KT_INLINE Float(__m128 x) : v(x) {}
    KT_INLINE Float(float all) : v(_mm_set1_ps(all)) {}
    static KT_INLINE Float load(const float* p) { return _mm_load_ps(p); }
    KT_INLINE void store(float* p) const { _mm_store_ps(p, v); }
    friend KT_INLINE Float operator+(Float a, Float b) { return _mm_add_ps(a.v, b.v); }
    friend KT_INLINE Float operator-(Float a, Float b) { return _mm_sub_ps(a.v, b.v); }
    friend KT_INLINE Float operator*(Float a, Float b) { return _mm_mul_ps(a.v, b.v); }
    friend KT_INLINE Float operator/(Float a, Float b) { return _mm_div_ps(a.v, b.v); }
    friend KT_INLINE Float min(Float a, Float b) { return _mm_min_ps(a.v, b.v); }
    friend KT_INLINE Float max(Float a, Float b) { return _mm_max_ps(a.v, b.v); }
#if defined(__FMA__)
    friend KT_INLINE Float mulAdd(Float a, Float b, Float c) {
        return _mm_fmadd_ps(a.v, b.v, c.v);
    }
    friend KT_INLINE Float mulSub(Float a, Float b, Float c) {
        return _mm_fmsub_ps(a.v, b.v, c.v);
    }
#else
    friend KT_INLINE Float mulAdd(Float a, Float b, Float c) {
        return a * b + c;
    }
    friend KT_INLINE Float mulSub(Float a, Float b, Float c) {
        return a * b - c;
    }
#endif
    friend KT_INLINE Mask<4> operator<(Float a, Float b) {
        return {_mm_cmplt_ps(a.v, b.v)};
    }
    friend KT_INLINE Mask<4> operator<=(Float a, Float b) {
        return {_mm_cmple_ps(a.v, b.v)};
    }
    friend KT_INLINE Float select(Mask<4> m, Float a, Float b) {
        return _mm_or_ps(_mm_and_ps(m.m, a.v), _mm_andnot_ps(m.m, b.v));
    }
    friend KT_INLINE Float signBit(Float a) {
        return _mm_and_ps(a.v, _mm_set1_ps(-0.0f));
    }
    friend KT_INLINE Float flipSign(Float a, Float sign) {
        return _mm_xor_ps(a.v, sign.v);
    }
    friend KT_INLINE Float abs(Float a) {
        return _mm_andnot_ps(_mm_set1_ps(-0.0f), a.v);
    }
    friend KT_INLINE Float orBits(Float a, Mask<4> m, std::uint32_t bits) {
        const __m128 b = _mm_castsi128_ps(_mm_set1_epi32(static_cast<int>(bits)));
        return _mm_or_ps(a.v, _mm_and_ps(m.m, b));
    }
    friend KT_INLINE float reduceMax(Float a) {
        const __m128 pairs = _mm_max_ps(a.v, _mm_movehl_ps(a.v, a.v));
        return _mm_cvtss_f32(_mm_max_ss(pairs, _mm_shuffle_ps(pairs, pairs, 1)));
    }
    friend KT_INLINE Float mergeBits(Float a, std::uint32_t keep, Float tags) {
        return _mm_or_ps(_mm_and_ps(a.v, _mm_castsi128_ps(_mm_set1_epi32(static_cast<int>(keep)))), tags.v);
    }
};

#else

template <>
struct Mask<4> {
    std::int32_t __attribute__((vector_size(16))) m;
    friend KT_INLINE Mask operator&(Mask a, Mask b) { return {a.m & b.m}; }
    friend KT_INLINE Mask operator|(Mask a, Mask b) { return {a.m | b.m}; }
    KT_INLINE std::uint32_t bits() const { return (m[0] & 1u) | (m[1] & 2u) | (m[2] & 4u) | (m[3] & 8u); }
};

template <>
struct Float<4> {
    typedef float V __attribute__((vector_size(16)));
    typedef std::int32_t I __attribute__((vector_size(16)));
    V v;
    KT_INLINE Float() = default;
    KT_INLINE Float(V x) : v(x) {}
    KT_INLINE Float(float all) : v{all, all, all, all} {}
    static KT_INLINE Float load(const float* p) { return *reinterpret_cast<const V*>(p); }
    KT_INLINE void store(float* p) const { *reinterpret_cast<V*>(p) = v; }
    friend KT_INLINE Float operator+(Float a, Float b) { return a.v + b.v; }
    friend KT_INLINE Float operator-(Float a, Float b) { return a.v - b.v; }
    friend KT_INLINE Float operator*(Float a, Float b) { return a.v * b.v; }
    friend KT_INLINE Float operator/(Float a, Float b) { return a.v / b.v; }
    friend KT_INLINE Float min(Float a, Float b) { return a.v < b.v ? a.v : b.v; }
    friend KT_INLINE Float max(Float a, Float b) { return a.v > b.v ? a.v : b.v; }
    friend KT_INLINE Float mulAdd(Float a, Float b, Float c) { return a.v * b.v + c.v; }
    friend KT_INLINE Float mulSub(Float a, Float b, Float c) { return a.v * b.v - c.v; }
    friend KT_INLINE Mask<4> operator<(Float a, Float b) { return {a.v < b.v}; }
    friend KT_INLINE Mask<4> operator<=(Float a, Float b) { return {a.v <= b.v}; }
    friend KT_INLINE Float select(Mask<4> m, Float a, Float b) { return m.m ? a.v : b.v; }
    friend KT_INLINE Float signBit(Float a) { return (V)((I)a.v & INT32_MIN); }
    friend KT_INLINE Float flipSign(Float a, Float sign) { return (V)((I)a.v ^ (I)sign.v); }
    friend KT_INLINE Float abs(Float a) { return (V)((I)a.v & INT32_MAX); }
    friend KT_INLINE float reduceMax(Float a) {
        const float x = a.v[0] > a.v[1] ? a.v[0] : a.v[1], y = a.v[2] > a.v[3] ? a.v[2] : a.v[3];
        return x > y ? x : y;
    }
    friend KT_INLINE Float orBits(Float a, Mask<4> m, std::uint32_t bits) {
        return (V)((I)a.v | (m.m & static_cast<std::int32_t>(bits)));
    }
    friend KT_INLINE Float mergeBits(Float a, std::uint32_t keep, Float tags) {
        return (V)(((I)a.v & static_cast<std::int32_t>(keep)) | (I)tags.v);
    }
};

#endif

} // namespace KT_ISA
