// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <optional>
#include <string>
#include <vector>

/// What the value of a vertex stands for.
enum class ktFitMode {
    Vertices, ///< light at the vertex
    Surface,  ///< the vertex values whose interpolation over the faces is nearest to the light on them
};

/// "vertices", "surface": in the order of the modes.
KT_HOST_EXPORT const std::vector<std::string>& ktFitNames();
/// Parses one of these names. Empty for anything else.
KT_HOST_EXPORT std::optional<ktFitMode> ktParseFitMode(const std::string& text);
/// The name of a mode.
KT_HOST_EXPORT const char* ktNameOf(ktFitMode mode);

/// Chooses the mode of the runs that start from now on. Thread-safe.
KT_HOST_EXPORT void ktSetFitMode(ktFitMode mode) noexcept;
/// Chooses the mode unless ktSetFitMode() or this was called before: the default of an application. Thread-safe.
KT_HOST_EXPORT void ktSuggestFitMode(ktFitMode mode) noexcept;
/// The mode; ktFitMode::Vertices if nobody chose one. Thread-safe.
KT_HOST_EXPORT ktFitMode ktGetFitMode() noexcept;
