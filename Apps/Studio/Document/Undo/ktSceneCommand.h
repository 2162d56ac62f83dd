// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktUndoCommand.h"

class QUndoStack;

/// A command that changes what is saved in the file. Commands for settings of the calculation are not of this class.
class ktSceneCommand : public ktUndoCommand {
public:
    explicit ktSceneCommand(const QString& text);

    /// Different for each command of the process; never 0.
    unsigned long getNumber() const { return number; }

    /// Number of the newest applied command of this class on the stack; 0 if there is none. It identifies what would be
    /// saved.
    static unsigned long findNewest(const QUndoStack& stack);

private:
    const unsigned long number;
};
