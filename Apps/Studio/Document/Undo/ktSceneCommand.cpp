// SPDX-License-Identifier: LGPL-2.1-or-later
// Numbers the commands that change what is saved, and finds the newest.
#include "ktSceneCommand.h"

#include <QUndoStack>

static unsigned long commandCount = 0;

ktSceneCommand::ktSceneCommand(const QString& text) : ktUndoCommand(text), number(++commandCount) {}

unsigned long ktSceneCommand::findNewest(const QUndoStack& stack) {
    for (int i = stack.index(); i-- > 0;)
        if (const auto* command = dynamic_cast<const ktSceneCommand*>(stack.command(i)))
            return command->getNumber();
    return 0;
}
