// SPDX-License-Identifier: LGPL-2.1-or-later
// Lets the module kthost use its reserve of memory from the moment when it is loaded.
#include "ktMemoryReserve.h"

[[maybe_unused]] static const bool isPrepared = [] {
    ktMemoryReserve::useIfPossible();
    return true;
}();
