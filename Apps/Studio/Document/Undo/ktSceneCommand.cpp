// SPDX-License-Identifier: LGPL-2.1-or-later
// Numbers the commands that change what is saved, and finds the newest.
#include "ktSceneCommand.h"

#include <QUndoStack>

static unsigned long commandCount = 0;

ktSceneCommand::ktSceneCommand(const QString& text) : ktUndoCommand(text), number(++commandCount) {}

/// The number of the command, or of the newest one inside it; 0: there is none.
static unsigned long numberOf(const QUndoCommand& command) {
    if (const auto* scene = dynamic_cast<const ktSceneCommand*>(&command))
        return scene->getNumber();
    for (int i = command.childCount(); i-- > 0;)
        if (const unsigned long number = numberOf(*command.child(i)))
            return number;
    return 0;
}

unsigned long ktSceneCommand::findNewest(const QUndoStack& stack) {
    for (int i = stack.index(); i-- > 0;)
        if (const unsigned long number = numberOf(*stack.command(i)))
            return number;
    return 0;
}
