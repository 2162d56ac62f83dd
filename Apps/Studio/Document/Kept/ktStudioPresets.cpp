// SPDX-License-Identifier: LGPL-2.1-or-later
// Changes presets, with undo.
#include "ktStudioPresets.h"

#include "ktAmbientOcclusion.h"
#include "ktUndoCommand.h"
#include "ktUndoStack.h"

#include <utility>

/// A change of the templates file that is done already.
class ktStudioPresets::Command : public ktUndoCommand {
public:
    Command(const QString& text, ktStudioPresets& presets_, QByteArray before_, QByteArray after_)
        : ktUndoCommand(text), presets(presets_), before(std::move(before_)), after(std::move(after_)) {}
    void undo() override {
        presets.restore(before);
        isDone = false;
    }
    void redo() override {
        if (!std::exchange(isDone, true))
            presets.restore(after);
    }

private:
    ktStudioPresets& presets;
    const QByteArray before, after;
    bool isDone = true;
};

ktStudioPresets::ktStudioPresets(ktUndoStack& stack_) : stack(stack_) {}

QStringList ktStudioPresets::getNames() const {
    return ktAmbientOcclusion::the()->getPresetNames();
}

void ktStudioPresets::apply(const QString& name) {
    ktAmbientOcclusion::the()->applyPreset(getNames().indexOf(name));
}

void ktStudioPresets::change(const QString& text, const std::function<ktPresetStore::Result()>& act) {
    if (ktPresetStore::readFile().isEmpty()) // somebody has removed it: undo needs what is in memory
        ktAmbientOcclusion::the()->writePreset();
    const QByteArray before = ktPresetStore::readFile();
    const ktPresetStore::Result result = act();
    const QByteArray after = ktPresetStore::readFile();
    if (result.kind != ktPresetStore::Result::Done) {
        emit failed(QString::fromStdString(result.reason));
    } else if (after != before) {
        stack.add(new Command(text, *this, before, after));
    }
    emit changed();
}

void ktStudioPresets::restore(const QByteArray& content) {
    const ktPresetStore::Result result = ktPresetStore::writeFile(content);
    if (result.kind != ktPresetStore::Result::Done)
        emit failed(QString::fromStdString(result.reason));
    emit changed();
}

void ktStudioPresets::save(const QString& name) {
    if (!name.isEmpty())
        change(tr("Save preset %1").arg(name),
               [&] { return ktPresetStore::save(name.toStdString(), ktPresetStore::Existing::Replace); });
}

void ktStudioPresets::rename(const QString& name, const QString& newName) {
    if (!newName.isEmpty())
        change(tr("Rename preset %1").arg(name),
               [&] { return ktPresetStore::rename(name.toStdString(), newName.toStdString()); });
}

void ktStudioPresets::remove(const QString& name) {
    change(tr("Delete preset %1").arg(name), [&] { return ktPresetStore::remove(name.toStdString()); });
}

void ktStudioPresets::move(const QString& name, int place) {
    change(tr("Move preset %1").arg(name), [&] { return ktPresetStore::move(name.toStdString(), place); });
}

void ktStudioPresets::restoreBuiltIn() {
    change(tr("Restore built-in presets"), [] { return ktPresetStore::restoreBuiltIn(); });
}
