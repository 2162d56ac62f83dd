// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

/// The host's worker threads.
class KT_HOST_EXPORT ktTBBInit {
public:
    static ktTBBInit* the();
    /// Number of logical cores that this process may use; at least 1. Thread-safe.
    unsigned int getNumLogicalCores() const;
};
