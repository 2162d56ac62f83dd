// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

/// What the value of a vertex stands for.
enum class ktFitMode {
    Vertices, ///< light at the vertex
    Surface,  ///< the vertex values whose interpolation over the faces is nearest to the light on them
};

/// Chooses the mode of the runs that start from now on. The default is ktFitMode::Vertices. Thread-safe.
KT_HOST_EXPORT void ktSetFitMode(ktFitMode mode) noexcept;
KT_HOST_EXPORT ktFitMode ktGetFitMode() noexcept;
