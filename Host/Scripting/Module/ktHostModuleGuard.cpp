// SPDX-License-Identifier: LGPL-2.1-or-later
// Checks that kthost is called on the main thread and while nothing is baked or drawn, and logs refused calls.
#include "ktHostModuleGuard.h"

#include "ktControllerState.h"
#include "ktHostModuleError.h"
#include "ktLog.h"

#include <QCoreApplication>
#include <QThread>

static bool isDrawing = false;

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
    if (isDrawing)
        refuse("a picture is being drawn");
}

ktHostModuleGuard::Drawing::Drawing() {
    isDrawing = true;
}

ktHostModuleGuard::Drawing::~Drawing() {
    isDrawing = false;
}
