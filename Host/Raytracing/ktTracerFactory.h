// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"
#include "ktTracer.h"

#include <optional>
#include <string>

/// The implementations of ktTracer. Both hit the same surfaces, except for rounding.
enum class ktTracerKind {
    Embree,     ///< a general ray tracer: the reference
    Hemisphere, ///< traces all rays of a vertex together: faster
};

/// Parses the name of a kind. Empty for anything else.
KT_HOST_EXPORT std::optional<ktTracerKind> ktParseTracerKind(const std::string& text);
/// "embree" or "hemisphere".
KT_HOST_EXPORT const char* ktNameOf(ktTracerKind kind);

/// Chooses what ktMakeTracer() makes from now on. Existing tracers stay. The default is the hemisphere
/// tracer. Thread-safe.
KT_HOST_EXPORT void ktChooseTracer(ktTracerKind kind) noexcept;

/// What ktMakeTracer() makes now. Thread-safe.
KT_HOST_EXPORT ktTracerKind ktChosenTracer() noexcept;

/// Limits the vector instructions of hemisphere tracers that are made from now on to so many lanes: 4, 8 or 16, the
/// default. Thread-safe.
KT_HOST_EXPORT void ktLimitTracerLanes(std::uint32_t lanes) noexcept;

/// Makes the chosen tracer, without an acceleration structure.
/// @throws std::runtime_error if it cannot start, std::bad_alloc
KT_HOST_EXPORT std::unique_ptr<ktTracer> ktMakeTracer();

/// Makes a tracer for pictures, without an acceleration structure: its structure is built fast, and it is fast with
/// rays that begin at one point side by side.
/// @throws as ktMakeTracer()
std::unique_ptr<ktTracer> ktMakePictureTracer();
