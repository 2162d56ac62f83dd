// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktInvokeValueUndoBase.h"

/// An undoable change of a member variable: writes the value through a pointer, then calls a method.
template <class T>
class ktInvokePValUndoCommand : public ktInvokeValueUndoBase<T> {
public:
    /// Arguments as for ktInvokeValueUndoBase.
    /// @param valuePointer the member that holds the setting; not owned; if null, nothing is written
    ktInvokePValUndoCommand(const QString& text, const T& value_, QObject* object_, const char* signature,
                            QUndoCommand* parent, T* valuePointer_)
        : ktInvokeValueUndoBase<T>(text, value_, object_, signature, parent), valuePointer(valuePointer_) {}

    bool canMergeWith(const QUndoCommand* other) const override {
        return ktInvokeValueUndoBase<T>::canMergeWith(other) &&
               static_cast<const ktInvokePValUndoCommand*>(other)->valuePointer == valuePointer;
    }

    void setValue(const T& newValue, T& oldValue) override {
        if (!valuePointer)
            return;
        oldValue = *valuePointer;
        *valuePointer = newValue;
    }

private:
    T* valuePointer;
};
