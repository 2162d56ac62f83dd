// SPDX-License-Identifier: LGPL-2.1-or-later
// Finds commands by name.
#include "ktCommandPalette.h"

#include <QAction>
#include <QApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QListWidget>
#include <QTimer>
#include <QVBoxLayout>

ktCommandPalette::ktCommandPalette(Commands commands_, QWidget* parent)
    : QDialog(parent), commands(std::move(commands_)), text(new QLineEdit(this)), list(new QListWidget(this)) {
    setWindowTitle(tr("Commands"));
    text->setObjectName("commandText");
    text->setPlaceholderText(tr("Part of a command's name"));
    text->setAccessibleName(tr("Part of a command's name"));
    text->installEventFilter(this);
    list->setAccessibleName(windowTitle());
    auto* rows = new QVBoxLayout(this);
    rows->addWidget(text);
    rows->addWidget(list);
    resize(420, 360);
    connect(text, &QLineEdit::textChanged, this, &ktCommandPalette::filter);
    connect(text, &QLineEdit::returnPressed, this, &ktCommandPalette::start);
    connect(list, &QListWidget::itemActivated, this, &ktCommandPalette::start);
    filter({});
}

void ktCommandPalette::filter(const QString& wanted) {
    list->clear();
    for (std::size_t i = 0; i < commands.size(); ++i) {
        const auto& [name, action] = commands[i];
        if (!action->isEnabled() || !name.contains(wanted, Qt::CaseInsensitive))
            continue;
        const QString keys = action->shortcut().toString(QKeySequence::NativeText);
        auto* item = new QListWidgetItem(keys.isEmpty() ? name : name + "  (" + keys + ")", list);
        item->setData(Qt::UserRole, static_cast<int>(i));
    }
    if (list->count() == 0)
        new QListWidgetItem(tr("No command that can be used now is called so."), list);
    list->setCurrentRow(0);
}

void ktCommandPalette::start() {
    const QListWidgetItem* const item = list->currentItem();
    if (!item || item->data(Qt::UserRole).isNull())
        return;
    QAction* const action = commands[static_cast<std::size_t>(item->data(Qt::UserRole).toInt())].second;
    accept();
    // When this dialog is gone: the command may open another one, or bake.
    QTimer::singleShot(0, action, &QAction::trigger);
}

// The arrow keys move in the list while the text has the keyboard.
bool ktCommandPalette::eventFilter(QObject* object, QEvent* event) {
    if (event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        if (key == Qt::Key_Up || key == Qt::Key_Down || key == Qt::Key_PageUp || key == Qt::Key_PageDown)
            return QApplication::sendEvent(list, event);
    }
    return QDialog::eventFilter(object, event);
}
