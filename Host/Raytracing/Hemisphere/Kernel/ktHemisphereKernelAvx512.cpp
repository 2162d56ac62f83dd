// SPDX-License-Identifier: LGPL-2.1-or-later
// The kernel for AVX-512: vectors of 16 lanes.
#if !defined(__AVX512F__) || !defined(__AVX512DQ__) || !defined(__AVX512VL__)
#error "this unit needs the compiler options of its instruction set"
#endif
#define KT_ISA ktIsaAvx512
#define KT_KERNEL ktHemisphereKernelAvx512
#define KT_KERNEL_NAME "16 lanes"
#define KT_KERNEL_LANES 16
#include "ktHemisphereKernelSource.h"
