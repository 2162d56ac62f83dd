// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QDialog>

class QAction;
class QLineEdit;
class QListWidget;

/// All commands of the window that can be used now: type a part of a name, Enter starts it.
class ktCommandPalette : public QDialog {
    Q_OBJECT
public:
    ktCommandPalette(const QList<QAction*>& actions, QWidget* parent);

protected:
    bool eventFilter(QObject* object, QEvent* event) override;

private:
    void filter(const QString& text);
    void start();

    const QList<QAction*> actions;
    QLineEdit* text;
    QListWidget* list;
};
