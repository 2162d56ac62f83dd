// SPDX-License-Identifier: LGPL-2.1-or-later
#define KT_LANES ktLanesAvx2
#define KT_KERNEL ktHemisphereKernelAvx2
#define KT_KERNEL_NAME "8 lanes"
#define KT_KERNEL_LANES 8
#include "ktHemisphereKernelSource.h"
