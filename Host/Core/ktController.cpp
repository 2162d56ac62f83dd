// SPDX-License-Identifier: LGPL-2.1-or-later
// Keeps the busy and modified state of the host, and announces its changes.
#include "ktController.h"

#include "ktCancelToken.h"
#include "ktControllerState.h"
#include "ktHostSignals.h"
#include "ktLog.h"

#include <utility>

namespace {

bool isBusyNow = false;
unsigned long busyCount = 0;
bool isCursorShown = false;
bool isSceneModified = false;
std::string failure; // of the run under way; empty: none
ktRunEnd lastEnd;

void endRun() {
    const ktCancelToken& token = ktCancelToken::the();
    lastEnd.run = token.getRun();
    lastEnd.kind = !failure.empty() ? ktRunEnd::Failed : token.isCanceled() ? ktRunEnd::Cancelled : ktRunEnd::Done;
    lastEnd.reason = std::exchange(failure, {});
    emit ktHostSignals::the().runEnded(lastEnd);
}

} // namespace

void ktController::setBusy(bool busy, bool showCursor) {
    // Reset even if the host is already busy: the run that begins is not cancelled.
    if (busy) {
        ktCancelToken::the().beginRun();
        failure.clear();
        ++busyCount;
    }
    isCursorShown = busy && showCursor;
    if (busy == isBusyNow)
        return;
    isBusyNow = busy;
    if (!busy)
        endRun();
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

void ktControllerState::failRun(const std::string& line) {
    ktCancelToken::the().cancel();
    ktLog::error("%s", line.c_str());
    if (isBusyNow && failure.empty())
        failure = line;
}

const ktRunEnd& ktControllerState::getLastRunEnd() noexcept {
    return lastEnd;
}
