// SPDX-License-Identifier: LGPL-2.1-or-later
#include "ktUndoStack.h"

#include "ktLog.h"

#include <exception>

ktUndoStack::ktUndoStack(QObject* parent) : QUndoStack(parent) {}

ktUndoStack* ktUndoStack::get(int index) {
    // Never destroyed: the code of its commands lies in plug-ins, whose statics are gone at the end of the process.
    static auto* const stack = new ktUndoStack;
    return index == 0 ? stack : nullptr;
}

void ktUndoStack::add(QUndoCommand* command) {
    if (command == nullptr)
        return;
    // After an exception nobody can tell whether Qt has stored, merged or not yet seen the command, so it is not
    // deleted here.
    try {
        push(command);
    } catch (const std::exception& e) {
        ktLog::error("A change could not be applied: %s", e.what());
    } catch (...) {
        ktLog::error("A change could not be applied");
    }
}
