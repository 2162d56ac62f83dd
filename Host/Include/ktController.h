// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

/// The host's main controller, as far as a plug-in needs it. Main thread only.
class KT_HOST_EXPORT ktController {
public:
    /// Shuts the user's input out while a long operation runs, or lets it in again. Calls do not nest.
    /// @param busy       true at the start of the operation, false at its end
    /// @param showCursor whether the pointer shows it
    static void setBusy(bool busy, bool showCursor);

    /// Marks the scene as modified (1) or as saved (0).
    static void setModified(int modified);
};
