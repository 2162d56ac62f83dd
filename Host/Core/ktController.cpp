// SPDX-License-Identifier: LGPL-2.1-or-later
#include "ktController.h"

#include "ktCancelToken.h"
#include "ktControllerState.h"
#include "ktHostSignals.h"

namespace {

bool isBusyNow = false;
unsigned long busyCount = 0;
bool isCursorShown = false;
bool isSceneModified = false;

} // namespace

void ktController::setBusy(bool busy, bool showCursor) {
    // Reset even if the host is already busy: the run that begins is not cancelled.
    if (busy) {
        ktCancelToken::the().reset();
        ++busyCount;
    }
    isCursorShown = busy && showCursor;
    if (busy == isBusyNow)
        return;
    isBusyNow = busy;
    emit ktHostSignals::the().busyChanged(busy);
}

void ktController::setModified(int modified) {
    const bool isModified = modified != 0;
    if (isModified == isSceneModified)
        return;
    isSceneModified = isModified;
    emit ktHostSignals::the().modifiedChanged(isModified);
}

bool ktControllerState::isBusy() noexcept {
    return isBusyNow;
}

unsigned long ktControllerState::getBusyCount() noexcept {
    return busyCount;
}

bool ktControllerState::isBusyCursorShown() noexcept {
    return isCursorShown;
}

bool ktControllerState::isModified() noexcept {
    return isSceneModified;
}
