// SPDX-License-Identifier: LGPL-2.1-or-later
// The kernel for AVX2: vectors of 8 lanes.
#if !defined(__AVX2__) || !defined(__FMA__)
#error "this unit needs the compiler options of its instruction set"
#endif
#define KT_ISA ktIsaAvx2
#define KT_KERNEL ktHemisphereKernelAvx2
#define KT_KERNEL_NAME "8 lanes"
#define KT_KERNEL_LANES 8
#include "ktHemisphereKernelSource.h"
