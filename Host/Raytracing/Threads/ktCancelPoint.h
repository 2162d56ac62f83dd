// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktCancelToken.h"

/// Thrown through the folder's own code to leave a cancelled call; ends at the call's border.
struct ktCanceled {};

/// A place where work may end early. Cheap; thread-safe.
inline void ktThrowIfCanceled() {
    if (ktCancelToken::the().isCanceled())
        throw ktCanceled();
}
