// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

// SIMD vectors of 4, 8 and 16 floats. The kernel's code uses these three widths. A vector is one register if the
// processor has one of this width, else two vectors of half the width. The kernel is compiled once for each instruction
// set. Each has a separate namespace (KT_ISA), so that the linker does not mix them up.

#include <cstdint>
#include <cstring>

#ifndef KT_ISA
#error "compile this through one of the ktHemisphereKernel units, which name the instruction set"
#endif

#define KT_INLINE inline __attribute__((always_inline))

namespace KT_ISA {

template <int N>
struct Float;
template <int N>
struct Mask;

} // namespace KT_ISA

#include "ktSimd4.h"
#if defined(__AVX2__) && defined(__FMA__)
#include "ktSimd8.h"
#endif
#if defined(__AVX512F__) && defined(__AVX512DQ__) && defined(__AVX512VL__)
#include "ktSimd16.h"
#endif

namespace KT_ISA {

// Two halves, for widths without a register.
template <int N>
struct Mask {
    Mask<N / 2> low, high;
    friend KT_INLINE Mask operator&(Mask a, Mask b) { return {a.low & b.low, a.high & b.high}; }
    friend KT_INLINE Mask operator|(Mask a, Mask b) { return {a.low | b.low, a.high | b.high}; }
    /// Bit i is lane i.
    KT_INLINE std::uint32_t bits() const { return low.bits() | high.bits() << (N / 2); }
};

template <int N>
struct Float {
    Float<N / 2> low, high;
    KT_INLINE Float() = default;
    KT_INLINE Float(float all) : low(all), high(all) {}
    KT_INLINE Float(Float<N / 2> l, Float<N / 2> h) : low(l), high(h) {}
    static KT_INLINE Float load(const float* p) { return {Float<N / 2>::load(p), Float<N / 2>::load(p + N / 2)}; }
    KT_INLINE void store(float* p) const {
        low.store(p);
        high.store(p + N / 2);
    }
    friend KT_INLINE Float operator+(Float a, Float b) { return {a.low + b.low, a.high + b.high}; }
    friend KT_INLINE Float operator-(Float a, Float b) { return {a.low - b.low, a.high - b.high}; }
    friend KT_INLINE Float operator*(Float a, Float b) { return {a.low * b.low, a.high * b.high}; }
    friend KT_INLINE Float operator/(Float a, Float b) { return {a.low / b.low, a.high / b.high}; }
    friend KT_INLINE Mask<N> operator<(Float a, Float b) { return {a.low < b.low, a.high < b.high}; }
    friend KT_INLINE Mask<N> operator<=(Float a, Float b) { return {a.low <= b.low, a.high <= b.high}; }
    friend KT_INLINE Float min(Float a, Float b) { return {min(a.low, b.low), min(a.high, b.high)}; }
    friend KT_INLINE Float max(Float a, Float b) { return {max(a.low, b.low), max(a.high, b.high)}; }
    friend KT_INLINE Float mulAdd(Float a, Float b, Float c) {
        return {mulAdd(a.low, b.low, c.low), mulAdd(a.high, b.high, c.high)};
    }
    friend KT_INLINE Float mulSub(Float a, Float b, Float c) {
        return {mulSub(a.low, b.low, c.low), mulSub(a.high, b.high, c.high)};
    }
    friend KT_INLINE Float select(Mask<N> m, Float a, Float b) {
        return {select(m.low, a.low, b.low), select(m.high, a.high, b.high)};
    }
    friend KT_INLINE Float signBit(Float a) { return {signBit(a.low), signBit(a.high)}; }
    friend KT_INLINE Float flipSign(Float a, Float sign) {
        return {flipSign(a.low, sign.low), flipSign(a.high, sign.high)};
    }
    friend KT_INLINE Float abs(Float a) { return {abs(a.low), abs(a.high)}; }
    friend KT_INLINE Float orBits(Float a, Mask<N> m, std::uint32_t bits) {
        return {orBits(a.low, m.low, bits), orBits(a.high, m.high, bits)};
    }
    friend KT_INLINE float reduceMax(Float a) { return reduceMax(max(a.low, a.high)); }
    friend KT_INLINE Float mergeBits(Float a, std::uint32_t keep, Float tags) {
        return {mergeBits(a.low, keep, tags.low), mergeBits(a.high, keep, tags.high)};
    }
};

/// @param x at least 0
KT_INLINE float squareRoot(float x) {
    return __builtin_sqrtf(x);
}

using Float4 = Float<4>;
using Float8 = Float<8>;
using Float16 = Float<16>;

} // namespace KT_ISA
