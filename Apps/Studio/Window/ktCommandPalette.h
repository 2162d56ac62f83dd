// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QDialog>
#include <QString>
#include <utility>
#include <vector>

class QAction;
class QLineEdit;
class QListWidget;

/// All commands of the window that can be used now: type a part of a name, Enter starts it.
class ktCommandPalette : public QDialog {
    Q_OBJECT
public:
    /// Names without marks of keys, and what they start.
    using Commands = std::vector<std::pair<QString, QAction*>>;

    ktCommandPalette(Commands commands, QWidget* parent);

protected:
    bool eventFilter(QObject* object, QEvent* event) override;

private:
    void filter(const QString& text);
    void start();

    const Commands commands;
    QLineEdit* text;
    QListWidget* list;
};
