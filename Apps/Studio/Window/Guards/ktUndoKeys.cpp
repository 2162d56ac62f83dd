// SPDX-License-Identifier: LGPL-2.1-or-later
// Gives the keys for undo and redo to the window if a field has no use for them.
#include "ktUndoKeys.h"

#include <QAbstractSpinBox>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QTextDocument>

namespace {

/// Whether the field's own text can be undone, or redone.
bool canField(const QObject* field, bool isUndo) {
    if (const auto* const text = qobject_cast<const QPlainTextEdit*>(field))
        return !text->isReadOnly() &&
               (isUndo ? text->document()->isUndoAvailable() : text->document()->isRedoAvailable());
    const auto* line = qobject_cast<const QLineEdit*>(field);
    if (!line) // a spin box, which has the keyboard in place of its field
        line = field->findChild<QLineEdit*>();
    return line && (isUndo ? line->isUndoAvailable() : line->isRedoAvailable());
}

} // namespace

ktUndoKeys::ktUndoKeys(QWidget* panel) : QObject(panel) {
    for (QWidget* widget : panel->findChildren<QWidget*>()) {
        const auto* const box = qobject_cast<QAbstractSpinBox*>(widget);
        if (!box && !qobject_cast<QLineEdit*>(widget) && !qobject_cast<QPlainTextEdit*>(widget))
            continue;
        widget->installEventFilter(this);
        if (box) // what is accepted is a step of the window
            connect(box, &QAbstractSpinBox::editingFinished, box, [line = widget->findChild<QLineEdit*>()] {
                line->setText(line->text()); // forgets how it was typed
            });
    }
}

bool ktUndoKeys::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() != QEvent::ShortcutOverride)
        return false;
    const auto* const key = static_cast<QKeyEvent*>(event);
    const bool isUndo = key->matches(QKeySequence::Undo);
    if ((!isUndo && !key->matches(QKeySequence::Redo)) || canField(watched, isUndo))
        return false;
    event->ignore();
    return true;
}
