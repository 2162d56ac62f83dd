// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <xmmintrin.h>

/// Sets flush-to-zero and denormals-are-zero for the thread while it lives. Ray casting does not need denormal numbers,
/// and arithmetic with one takes about a hundred times as long.
class ktFlushDenormals {
public:
    ktFlushDenormals() : saved(_mm_getcsr()) { _mm_setcsr(saved | flushToZero | denormalsAreZero); }
    ~ktFlushDenormals() { _mm_setcsr(saved); }
    ktFlushDenormals(const ktFlushDenormals&) = delete;
    ktFlushDenormals& operator=(const ktFlushDenormals&) = delete;

private:
    static constexpr unsigned flushToZero = 0x8000;
    static constexpr unsigned denormalsAreZero = 0x0040;
    unsigned saved;
};
