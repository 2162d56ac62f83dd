// SPDX-License-Identifier: LGPL-2.1-or-later
#include "ktCancelToken.h"

// Initialised at compile time: a guarded local static would take a lock on first use, which a signal handler must not.
ktCancelToken ktCancelToken::instance;

ktCancelToken& ktCancelToken::the() noexcept {
    return instance;
}
