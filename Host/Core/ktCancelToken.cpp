// SPDX-License-Identifier: LGPL-2.1-or-later
// Holds the flag that cancels a calculation; signal handlers may set it.
#include "ktCancelToken.h"

// Initialised at compile time: a local static would lock on first use, which is not allowed in a signal handler.
ktCancelToken ktCancelToken::instance;

ktCancelToken& ktCancelToken::the() noexcept {
    return instance;
}
