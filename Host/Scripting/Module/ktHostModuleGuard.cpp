// SPDX-License-Identifier: LGPL-2.1-or-later
// Checks that kthost is called on the main thread and while no bake runs, and logs refused calls.
#include "ktHostModuleGuard.h"

#include "ktControllerState.h"
#include "ktHostModuleError.h"
#include "ktLog.h"

#include <QCoreApplication>
#include <QThread>

void ktHostModuleGuard::requireMainThread() {
    if (QThread::currentThread() != QCoreApplication::instance()->thread())
        throw ktHostModuleError("kthost is for the main thread; from other threads only cancel() may be called");
}

void ktHostModuleGuard::refuse(const std::string& reason) {
    ktLog::error("%s", reason.c_str());
    throw ktHostModuleError(reason);
}

void ktHostModuleGuard::refuseWhileBaking() {
    if (ktControllerState::isBusy())
        refuse("a bake is under way");
}
