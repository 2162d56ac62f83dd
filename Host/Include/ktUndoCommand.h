// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktHostExport.h"

#include <QtGlobal>
#include <QUndoCommand>
#include <typeindex>

class ktMessage;

/// Base class of all commands on the host's undo stack.
class KT_HOST_EXPORT ktUndoCommand : public QUndoCommand {
public:
    /// @param text   translated label shown in the undo history
    /// @param parent macro that owns the command, or null when the stack will own it
    explicit ktUndoCommand(const QString& text, QUndoCommand* parent = nullptr);
    ~ktUndoCommand() override;

    /// Describes the command for the host's history. The base class adds its label under "text".
    virtual void makeMessage(ktMessage& message) const;

    /// Whether `other`, which has the same id and was applied right after this command, may be merged into it. The base
    /// class always returns true; derived classes restrict it. `other` must not be null.
    virtual bool canMergeWith(const QUndoCommand* other) const;

    /// One id per command type, the same in the whole process, never -1. Thread-safe.
    static int makeId(std::type_index type);

protected:
    /// Time of the newest change in the command, in milliseconds since 1970. A merge updates it.
    qint64 changeTime_ms;
};
