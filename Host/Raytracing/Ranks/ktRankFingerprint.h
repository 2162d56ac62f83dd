// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"
#include "ktTracer.h"

#include <cstdint>

/// Traces a small scene of random triangles and calculates functions of the mathematical library, and returns a hash of
/// all bits. Processes with the same number find the same bits in a bake. Takes some milliseconds.
/// @param tracer its structure is replaced; afterwards it has none. Worker thread
KT_HOST_EXPORT std::uint64_t ktCalculateFingerprint(ktTracer& tracer);
