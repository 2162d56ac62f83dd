// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <optional>
#include <string>

/// What the value of a vertex stands for.
enum class ktFitMode {
    Vertices, ///< light at the vertex
    Surface,  ///< the vertex values whose interpolation over the faces is nearest to the light on them
};

/// Parses the name of a mode. Empty for anything else.
KT_HOST_EXPORT std::optional<ktFitMode> ktParseFitMode(const std::string& text);
/// "vertices" or "surface".
KT_HOST_EXPORT const char* ktNameOf(ktFitMode mode);

/// Chooses the mode of the runs that start from now on. Thread-safe.
KT_HOST_EXPORT void ktSetFitMode(ktFitMode mode) noexcept;
/// Chooses the mode unless ktSetFitMode() or this was called before: the default of an application. Thread-safe.
KT_HOST_EXPORT void ktSuggestFitMode(ktFitMode mode) noexcept;
/// The mode; ktFitMode::Vertices if nobody chose one. Thread-safe.
KT_HOST_EXPORT ktFitMode ktGetFitMode() noexcept;
