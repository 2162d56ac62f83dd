// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

/// Registers a scripting hook as long as the object lives. Meant for static objects of a plug-in.
class KT_HOST_EXPORT ktPythonInit {
public:
    /// @param hook called on the main thread: with false when the host's scripting starts (at once if it already runs),
    ///             with true when it is torn down. Must not be null.
    explicit ktPythonInit(void (*hook)(bool destroy));
    ~ktPythonInit();
    ktPythonInit(const ktPythonInit&) = delete;
    ktPythonInit& operator=(const ktPythonInit&) = delete;

private:
    void (*hook)(bool);
};
