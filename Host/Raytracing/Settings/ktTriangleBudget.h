// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <cstddef>
#include <string>

/// How many triangles a scene may have after refinement, each geometry counted once. It holds for runs that fit vertex
/// values to the surface.
struct ktTriangleBudget {
    double number = 0;     ///< 0: no limit
    bool isFactor = false; ///< times the triangles before the run

    /// @return the most triangles; 0: no limit
    std::size_t of(std::size_t trianglesBefore) const {
        return static_cast<std::size_t>(isFactor ? number * static_cast<double>(trianglesBefore) : number);
    }
};

/// Reads a budget: a number of triangles, or a factor of at least 1 such as "4x". In any locale.
/// @return false if the text is neither; the budget is then unchanged
KT_HOST_EXPORT bool ktParseTriangleBudget(const std::string& text, ktTriangleBudget& budget) noexcept;

/// Sets the budget of the runs that start from now on. Thread-safe.
KT_HOST_EXPORT void ktSetTriangleBudget(ktTriangleBudget budget) noexcept;
/// The budget; no limit if nobody set one. Thread-safe.
KT_HOST_EXPORT ktTriangleBudget ktGetTriangleBudget() noexcept;
