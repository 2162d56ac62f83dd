// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

/// During its lifetime, the undo stacks apply added commands and delete them: for changes that an application makes for
/// one run and takes back after it. Objects may be nested. Main thread only.
class KT_HOST_EXPORT ktUndoPause {
public:
    ktUndoPause();
    ~ktUndoPause();
    ktUndoPause(const ktUndoPause&) = delete;
    ktUndoPause& operator=(const ktUndoPause&) = delete;

    static bool isActive();
};
