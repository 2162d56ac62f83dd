// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <QtGlobal>
#include <QUndoCommand>
#include <typeindex>

class ktMessage;

/// Base of every command on the host's undo stack.
class KT_HOST_EXPORT ktUndoCommand : public QUndoCommand {
public:
    /// @param text   translated label shown in the undo history
    /// @param parent macro that owns the command, or null when the stack will own it
    explicit ktUndoCommand(const QString& text, QUndoCommand* parent = nullptr);
    ~ktUndoCommand() override;

    /// Describes the command for the host's history; the base adds its label under "text".
    virtual void makeMessage(ktMessage& message) const;

    /// Whether `other`, which has the same id and was applied right after this one, may become part of it.
    /// The host's own rule allows it always; derived classes narrow it. `other` must not be null.
    virtual bool canMergeWith(const QUndoCommand* other) const;

    /// One id per command type, the same for the whole process, never -1. Thread-safe.
    static int makeId(std::type_index type);

protected:
    /// Time of the newest change that the command stands for, milliseconds since 1970; a merge takes it over.
    qint64 changeTime_ms;
};
