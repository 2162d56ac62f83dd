// SPDX-License-Identifier: LGPL-2.1-or-later
// The kernel for any processor: vectors of 4 lanes.
#define KT_ISA ktIsaBase
#define KT_KERNEL ktHemisphereKernelBase
#define KT_KERNEL_NAME "4 lanes"
#define KT_KERNEL_LANES 4
#include "ktHemisphereKernelSource.h"
