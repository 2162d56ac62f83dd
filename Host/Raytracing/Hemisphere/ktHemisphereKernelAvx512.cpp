// SPDX-License-Identifier: LGPL-2.1-or-later
#define KT_LANES ktLanesAvx512
#define KT_KERNEL ktHemisphereKernelAvx512
#define KT_KERNEL_NAME "16 lanes"
#define KT_KERNEL_LANES 16
#include "ktHemisphereKernelSource.h"
