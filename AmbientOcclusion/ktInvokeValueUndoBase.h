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

/// A command that sets a value and then calls a method of an object by the text of its signature. Undo and redo are the
/// same operation: they swap the stored value with the current one.
/// The derived class says where the current value is. Main thread only.
template <class T>
class ktInvokeValueUndoBase : public ktUndoCommand {
public:
    /// @param text      translated label
    /// @param value     the new value
    /// @param object    object of the method; not owned, not null, must outlive the command
    /// @param signature of a method with one parameter, which gets the new value, or with none; need not be normalized.
    ///                  If the object has no such method, logs an error; the command then only sets the
    ///                  value.
    /// @param parent    macro that will own the command, or null
    ktInvokeValueUndoBase(const QString& text, const T& value, QObject* object, const char* signature,
                          QUndoCommand* parent);

    void undo() override { this->redo(); }
    void redo() override;
    /// The same for all commands of one value type; canMergeWith() tells them apart.
    int id() const override { return commandId(); }
    /// Absorbs a later change of the same setting. The stored value stays the one before the first change.
    bool mergeWith(const QUndoCommand* other) override;
    bool canMergeWith(const QUndoCommand* other) const override;
    /// Sets the current value to `newValue` and `oldValue` to the previous one. Without a place to write, does nothing.
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
    // The call needs only the type's name. The author of the signature ensures that it matches T.
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
    // Equal ids mean equal value types, so the cast is safe.
    const auto* command = static_cast<const ktInvokeValueUndoBase*>(other);
    return command->object == object && command->method == method;
}

template <class T>
int ktInvokeValueUndoBase<T>::commandId() {
    static const int cmdId = ktUndoCommand::makeId(std::type_index(typeid(ktInvokeValueUndoBase<T>)));
    return cmdId;
}
