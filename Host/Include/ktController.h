// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

/// The part of the host's main controller that plug-ins need. Main thread only.
class KT_HOST_EXPORT ktController {
public:
    /// Blocks the user's input while a long operation runs, or allows it again. Calls do not nest.
    /// @param busy       true at the start of the operation, false at its end
    /// @param showCursor whether the pointer shows it
    static void setBusy(bool busy, bool showCursor);

    /// Marks the scene as modified (1) or as saved (0).
    static void setModified(int modified);
};
