// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <QUndoStack>

/// The host's undo stack: Qt's own, reached by index. Main thread only.
class KT_HOST_EXPORT ktUndoStack : public QUndoStack {
public:
    /// The stack of a document. The stand-alone host has one document, index 0; other indices give null.
    static ktUndoStack* get(int index);

    /// Applies `command` at once (its redo()) and keeps it; takes ownership. Merges it into the newest command when
    /// their ids are equal and that command's mergeWith() agrees. A null command is ignored.
    void add(QUndoCommand* command);

private:
    explicit ktUndoStack(QObject* parent = nullptr);
};
