// SPDX-License-Identifier: LGPL-2.1-or-later
// The dialog that lists shortcuts, and what the mouse does in the view.
#include "ktShortcutDialog.h"

#include <QAction>
#include <QDialogButtonBox>
#include <QHeaderView>
#include <QTableWidget>
#include <QVBoxLayout>

ktShortcutDialog::ktShortcutDialog(const QList<QAction*>& actions,
                                   const std::vector<std::pair<QString, QString>>& controls, QWidget* parent)
    : QDialog(parent), table(new QTableWidget(0, 2, this)) {
    setWindowTitle(tr("Keyboard shortcuts"));
    table->setHorizontalHeaderLabels({tr("What it does"), tr("Keys")});
    table->horizontalHeader()->setStretchLastSection(true);
    table->verticalHeader()->hide();
    table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table->setSelectionBehavior(QAbstractItemView::SelectRows);
    table->setAccessibleName(windowTitle());
    addTitle(tr("Commands"));
    for (const QAction* action : actions)
        if (!action->shortcut().isEmpty())
            addRow(action->text().remove('&'), action->shortcut().toString(QKeySequence::NativeText));
    addTitle(tr("In the picture"));
    for (const auto& [what, keys] : controls)
        addRow(what, keys);
    table->resizeColumnsToContents();
    auto* rows = new QVBoxLayout(this);
    rows->addWidget(table);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    rows->addWidget(buttons);
    resize(560, 560);
}

void ktShortcutDialog::addTitle(const QString& title) {
    const int row = table->rowCount();
    table->insertRow(row);
    auto* item = new QTableWidgetItem(title);
    QFont strong = table->font();
    strong.setBold(true);
    item->setFont(strong);
    table->setItem(row, 0, item);
    table->setSpan(row, 0, 1, 2);
}

void ktShortcutDialog::addRow(const QString& what, const QString& keys) {
    const int row = table->rowCount();
    table->insertRow(row);
    table->setItem(row, 0, new QTableWidgetItem(what));
    table->setItem(row, 1, new QTableWidgetItem(keys));
}
