// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktPresetStore.h"

#include <functional>
#include <QObject>
#include <QStringList>

class ktUndoStack;

/// The presets, shared with ktbake and other processes. Each change of the list is one undo step. Main thread only.
class ktStudioPresets : public QObject {
    Q_OBJECT
public:
    explicit ktStudioPresets(ktUndoStack& stack);

    QStringList getNames() const;
    /// Sets the settings, as one undo step.
    void apply(const QString& name);
    /// Saves the current settings; an existing preset of that name is replaced.
    void save(const QString& name);
    void rename(const QString& name, const QString& newName);
    void remove(const QString& name);
    void move(const QString& name, int place);
    void restoreBuiltIn();

signals:
    void changed();
    void failed(const QString& reason);

private:
    class Command;
    void change(const QString& text, const std::function<ktPresetStore::Result()>& act);
    void restore(const QByteArray& content);

    ktUndoStack& stack;
};
