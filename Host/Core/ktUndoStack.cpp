// SPDX-License-Identifier: LGPL-2.1-or-later
// Applies commands, and keeps them for undo and redo unless paused; logs the errors of commands that throw.
#include "ktUndoStack.h"

#include "ktLog.h"
#include "ktUndoPause.h"

#include <exception>
#include <memory>
#include <new>

static int pauses = 0; // main thread only

ktUndoPause::ktUndoPause() {
    ++pauses;
}

ktUndoPause::~ktUndoPause() {
    --pauses;
}

bool ktUndoPause::isActive() {
    return pauses > 0;
}

ktUndoStack::ktUndoStack(QObject* parent) : QUndoStack(parent) {}

ktUndoStack* ktUndoStack::get(int index) {
    // Never destroyed: at the end of the process the plug-ins with the commands' code may already be unloaded.
    static auto* const stack = new ktUndoStack;
    return index == 0 ? stack : nullptr;
}

void ktUndoStack::add(QUndoCommand* command) {
    if (command == nullptr)
        return;
    // After an exception it is unknown whether Qt owns the command, so it is not deleted here.
    try {
        if (!ktUndoPause::isActive())
            push(command);
        else {
            const std::unique_ptr<QUndoCommand> applied(command);
            applied->redo();
        }
    } catch (const std::bad_alloc&) {
        ktLog::error("A change could not be applied: out of memory");
    } catch (const std::exception& e) {
        ktLog::error("A change could not be applied: %s", e.what());
    } catch (...) {
        ktLog::error("A change could not be applied");
    }
}
