// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktLog.h"
#include "ktUndoCommand.h"

#include <QByteArray>
#include <QMetaMethod>
#include <QObject>
#include <string>
#include <typeindex>
#include <typeinfo>

/// A command that puts a value in place and then calls a method of an object by its signature text, on undo as on redo.
/// Every application swaps the kept value with the live one, so undo and redo are one operation.
/// Where the value lives is up to the derived class. Main thread only.
template <class T>
class ktInvokeValueUndoBase : public ktUndoCommand {
public:
    /// @param text      translated label
    /// @param value     the new value
    /// @param object    whose method is called; not owned, not null, must outlive the command
    /// @param signature of a method with one parameter, which gets the new value, or with none; need not be normalized.
    ///                  When the object has no such method, that is logged and applying the command only sets the
    ///                  value.
    /// @param parent    macro that will own the command, or null
    ktInvokeValueUndoBase(const QString& text, const T& value, QObject* object, const char* signature,
                          QUndoCommand* parent);

    void undo() override { this->redo(); }
    void redo() override;
    /// The same for all commands of one value type; canMergeWith() tells them apart.
    int id() const override { return commandId(); }
    /// Takes over a later change of the same setting. The value kept stays the one from before the first change.
    bool mergeWith(const QUndoCommand* other) override;
    bool canMergeWith(const QUndoCommand* other) const override;
    /// Puts `newValue` in place and gives back what was there; leaves `oldValue` alone when there is no place.
    virtual void setValue(const T& newValue, T& oldValue) = 0;

    static int commandId();

private:
    T value;
    QObject* object;
    QMetaMethod method;
    std::string parameterType; // empty unless the method has exactly one parameter
};

template <class T>
ktInvokeValueUndoBase<T>::ktInvokeValueUndoBase(const QString& text, const T& newValue, QObject* target,
                                                const char* signature, QUndoCommand* parent)
    : ktUndoCommand(text, parent), value(newValue), object(target) {
    const std::string normalized = QMetaObject::normalizedSignature(signature).toStdString();
    const QMetaObject* metaObject = object->metaObject();
    const int index = metaObject->indexOfMethod(normalized.c_str());
    if (index < 0) {
        ktLog::error("Method not found: %s::%s", metaObject->className(), normalized.c_str());
        object = nullptr;
        return;
    }
    method = metaObject->method(index);
    // The type is only a name for the call: whether it fits T is the business of whoever wrote the signature.
    if (method.parameterCount() == 1)
        parameterType = method.parameterTypes().first().toStdString();
}

template <class T>
void ktInvokeValueUndoBase<T>::redo() {
    T old = value;
    this->setValue(value, old);
    if (object) {
        const QGenericArgument argument =
            parameterType.empty() ? QGenericArgument()
                                  : QGenericArgument(parameterType.c_str(), static_cast<const void*>(&value));
        if (!method.invoke(object, Qt::AutoConnection, QGenericReturnArgument(), argument))
            ktLog::error("Could not invoke: %s::%s", object->metaObject()->className(),
                         method.methodSignature().constData());
    }
    value = old;
}

template <class T>
bool ktInvokeValueUndoBase<T>::mergeWith(const QUndoCommand* other) {
    if (!this->canMergeWith(other))
        return false;
    this->changeTime_ms = static_cast<const ktInvokeValueUndoBase*>(other)->changeTime_ms;
    return true;
}

template <class T>
bool ktInvokeValueUndoBase<T>::canMergeWith(const QUndoCommand* other) const {
    if (!ktUndoCommand::canMergeWith(other))
        return false;
    // Equal ids mean equal value types, so the cast holds.
    const auto* command = static_cast<const ktInvokeValueUndoBase*>(other);
    return command->object == object && command->method == method;
}

template <class T>
int ktInvokeValueUndoBase<T>::commandId() {
    static const int cmdId = ktUndoCommand::makeId(std::type_index(typeid(ktInvokeValueUndoBase<T>)));
    return cmdId;
}
