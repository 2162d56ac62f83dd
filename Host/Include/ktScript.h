// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

/// The host's script interpreter. Main thread only.
class KT_HOST_EXPORT ktScript {
public:
    /// Executes statements in the host's main script namespace. Returns false if scripting is not running or the
    /// statements failed; the log then has the error and its traceback.
    static bool run(const char* statements);
};
