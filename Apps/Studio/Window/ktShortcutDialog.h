// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QDialog>
#include <QList>
#include <QString>
#include <utility>
#include <vector>

class QAction;
class QTableWidget;

/// Lists what the keyboard and the mouse do.
class ktShortcutDialog : public QDialog {
    Q_OBJECT
public:
    /// @param actions those with a shortcut are listed
    /// @param controls of the view: pairs of what happens and what to press
    ktShortcutDialog(const QList<QAction*>& actions, const std::vector<std::pair<QString, QString>>& controls,
                     QWidget* parent = nullptr);

private:
    void addTitle(const QString& title);
    void addRow(const QString& what, const QString& keys);

    QTableWidget* table;
};
