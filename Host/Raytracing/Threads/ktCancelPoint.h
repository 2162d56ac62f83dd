// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktCancelToken.h"

/// Thrown to leave a cancelled call. ktSceneRaytracing catches it; no other code sees it.
struct ktCanceled {};

/// Throws ktCanceled if a cancel is requested. Cheap; thread-safe.
inline void ktThrowIfCanceled() {
    if (ktCancelToken::the().isCanceled())
        throw ktCanceled();
}
