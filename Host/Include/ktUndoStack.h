// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <QUndoStack>

/// The host's undo stacks, one per document. Based on Qt's undo stack. Main thread only.
class KT_HOST_EXPORT ktUndoStack : public QUndoStack {
public:
    /// The stack of a document. The stand-alone host has one document, index 0. Other indices return null.
    static ktUndoStack* get(int index);

    /// Applies `command` at once (redo()) and takes ownership. Merges it into the newest command if their ids are equal
    /// and that command's mergeWith() agrees. Ignores a null command.
    void add(QUndoCommand* command);

private:
    explicit ktUndoStack(QObject* parent = nullptr);
};
