// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QPlainTextEdit>
#include <QStringList>

/// Several lines of input with a history. Enter runs them, Shift+Enter begins a new line, Up and Down at the first and
/// the last line go through the history, Tab completes a name or indents, Ctrl+C without a selection interrupts.
class ktScriptInput : public QPlainTextEdit {
    Q_OBJECT
public:
    explicit ktScriptInput(QWidget* parent = nullptr);

    const QStringList& getHistory() const { return history; }
    void setHistory(const QStringList& lines);
    /// Adds to the history, and empties the input.
    void accept();
    /// Goes on in a new line, indented as the last one, and more after a colon.
    void continueLine();
    /// Replaces the name before the cursor.
    void insertCompletion(const QString& name);
    QString textBeforeCursor() const; ///< of its line

signals:
    void entered();
    void completionRequested();
    void interrupted();

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    void showHistory(int place);

    QStringList history;
    int shown = 0; ///< place in the history; its size: the new input
    QString draft; ///< the new input, while the history is shown
};
