// SPDX-License-Identifier: LGPL-2.1-or-later
// The input of the console: keys, history, indentation.
#include "ktScriptInput.h"

#include <QFontDatabase>
#include <QKeyEvent>
#include <QTextBlock>

namespace {

constexpr int mostInHistory = 200;
const char* const indentation = "    ";

} // namespace

ktScriptInput::ktScriptInput(QWidget* parent) : QPlainTextEdit(parent) {
    setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    setPlaceholderText(tr("Python: kthost.bake()"));
    setMinimumHeight(fontMetrics().lineSpacing() * 2);
    setMaximumHeight(fontMetrics().lineSpacing() * 5);
    setAccessibleName(tr("Python statements"));
}

void ktScriptInput::setHistory(const QStringList& lines) {
    history = lines;
    shown = history.size();
}

void ktScriptInput::accept() {
    const QString text = toPlainText().trimmed();
    if (!text.isEmpty() && (history.isEmpty() || history.last() != text))
        history << text;
    while (history.size() > mostInHistory)
        history.removeFirst();
    shown = history.size();
    draft.clear();
    clear();
}

void ktScriptInput::continueLine() {
    const QString line = textCursor().block().text();
    int spaces = 0;
    while (spaces < line.size() && line[spaces] == ' ')
        ++spaces;
    QString next(spaces, ' ');
    if (line.trimmed().endsWith(':'))
        next += indentation;
    insertPlainText("\n" + next);
}

QString ktScriptInput::textBeforeCursor() const {
    return textCursor().block().text().left(textCursor().positionInBlock());
}

void ktScriptInput::insertCompletion(const QString& name) {
    QTextCursor cursor = textCursor();
    const QString before = textBeforeCursor();
    int begin = before.size();
    while (begin > 0 && (before[begin - 1].isLetterOrNumber() || before[begin - 1] == '_' || before[begin - 1] == '.'))
        --begin;
    cursor.movePosition(QTextCursor::Left, QTextCursor::KeepAnchor, before.size() - begin);
    cursor.insertText(name);
    setTextCursor(cursor);
}

void ktScriptInput::showHistory(int place) {
    if (place < 0 || place > history.size())
        return;
    if (shown == history.size())
        draft = toPlainText();
    shown = place;
    setPlainText(shown == history.size() ? draft : history[shown]);
    moveCursor(QTextCursor::End);
}

void ktScriptInput::keyPressEvent(QKeyEvent* event) {
    const bool isPlain = event->modifiers() == Qt::NoModifier || event->modifiers() == Qt::KeypadModifier;
    switch (event->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
        if (isPlain)
            emit entered();
        else
            continueLine();
        return;
    case Qt::Key_Up:
        if (isPlain && textCursor().blockNumber() == 0) {
            showHistory(shown - 1);
            return;
        }
        break;
    case Qt::Key_Down:
        if (isPlain && textCursor().blockNumber() == blockCount() - 1) {
            showHistory(shown + 1);
            return;
        }
        break;
    case Qt::Key_Tab:
        if (isPlain) {
            if (textBeforeCursor().trimmed().isEmpty())
                insertPlainText(indentation);
            else
                emit completionRequested();
            return;
        }
        break;
    case Qt::Key_C:
        if (event->modifiers() == Qt::ControlModifier && !textCursor().hasSelection()) {
            emit interrupted();
            return;
        }
        break;
    default:
        break;
    }
    QPlainTextEdit::keyPressEvent(event);
}
