// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"
#include "ktTracer.h"

/// The implementations of ktTracer. Both meet the same surfaces, to rounding.
enum class ktTracerKind {
    Embree,     ///< a general ray tracer: the yardstick
    Hemisphere, ///< all rays of a vertex together: faster
};

/// Chooses what ktMakeTracer() makes from now on; tracers that are there stay. Without a choice it is the hemisphere
/// tracer. Thread-safe.
KT_HOST_EXPORT void ktChooseTracer(ktTracerKind kind) noexcept;

/// Makes the tracer that the host uses, with nothing built yet.
/// @throws std::runtime_error when it cannot start, std::bad_alloc
std::unique_ptr<ktTracer> ktMakeTracer();
