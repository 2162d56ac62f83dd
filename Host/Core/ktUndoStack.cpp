// SPDX-License-Identifier: LGPL-2.1-or-later
// Applies commands, and keeps them for undo and redo; logs the errors of commands that throw.
#include "ktUndoStack.h"

#include "ktLog.h"

#include <exception>

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
        push(command);
    } catch (const std::exception& e) {
        ktLog::error("A change could not be applied: %s", e.what());
    } catch (...) {
        ktLog::error("A change could not be applied");
    }
}
