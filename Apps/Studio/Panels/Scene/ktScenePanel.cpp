// SPDX-License-Identifier: LGPL-2.1-or-later
// Search field, tree and context menu of the scene.
#include "ktScenePanel.h"

#include "ktSceneModel.h"
#include "ktStudioServices.h"

#include <algorithm>
#include <QHeaderView>
#include <QItemSelection>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QTimer>
#include <QTreeView>
#include <QVBoxLayout>

ktScenePanel::ktScenePanel(ktStudioServices& services_, QWidget* parent)
    : QWidget(parent), services(services_), model(new ktSceneModel(services_, this)), text(new QLineEdit(this)),
      found(new QLabel(this)), tree(new QTreeView(this)) {
    text->setObjectName("sceneSearch");
    text->setPlaceholderText(tr("Select by name or path: wheel, body/door*"));
    text->setToolTip(
        tr("Enter selects all nodes of this name, else those of a path with the wildcards *, ? and [...]"));
    text->setClearButtonEnabled(true);
    text->setAccessibleName(tr("Find parts"));
    found->setVisible(false);
    tree->setObjectName("sceneTree");
    tree->setAccessibleName(tr("Scene"));
    tree->setToolTip(tr("What is selected here is baked"));
    tree->setModel(model);
    tree->setUniformRowHeights(true);
    tree->setIndentation(12); // room for names
    tree->setSelectionMode(QAbstractItemView::ExtendedSelection);
    tree->setContextMenuPolicy(Qt::CustomContextMenu);
    tree->header()->setStretchLastSection(false);
    tree->header()->setSectionResizeMode(ktSceneModel::Name, QHeaderView::Stretch);
    for (int column = ktSceneModel::Shown; column < ktSceneModel::ColumnCount; ++column)
        tree->header()->setSectionResizeMode(column, QHeaderView::ResizeToContents);
    tree->header()->setMinimumSectionSize(24);
    tree->header()->setResizeContentsPrecision(0); // only rows in view: asking a thousand rows takes long
    // Each time a header is drawn, it asks all rows whether its columns are selected. Here rows are, and columns never.
    tree->header()->setSelectionModel(new QItemSelectionModel(model, tree->header()));

    auto* rows = new QVBoxLayout(this);
    rows->setContentsMargins(4, 4, 4, 4);
    rows->addWidget(text);
    rows->addWidget(found);
    rows->addWidget(tree, 1);

    connect(text, &QLineEdit::returnPressed, this, &ktScenePanel::search);
    connect(text, &QLineEdit::textEdited, found, &QWidget::hide);
    connect(tree->selectionModel(), &QItemSelectionModel::selectionChanged, this, &ktScenePanel::takeSelection);
    connect(tree, &QTreeView::customContextMenuRequested, this, &ktScenePanel::showMenu);
    connect(&services.selection, &ktStudioSelection::changed, this, &ktScenePanel::showSelection);
    connect(model, &QAbstractItemModel::modelReset, this, [this] {
        expandFirst();
        showSelection();
    });
    // The tree can be looked at during a run, but not changed.
    connect(&services, &ktStudioServices::frozenChanged, this, [this](bool isFrozen) {
        text->setDisabled(isFrozen);
        tree->setSelectionMode(isFrozen ? QAbstractItemView::NoSelection : QAbstractItemView::ExtendedSelection);
    });
}

// Groups without siblings say little, so the tree opens until it shows several rows.
void ktScenePanel::expandFirst() {
    std::vector<QModelIndex> level = {QModelIndex()};
    for (int depth = 0; depth < 8; ++depth) {
        std::vector<QModelIndex> next;
        for (const QModelIndex& above : level)
            for (int row = 0; row < model->rowCount(above) && next.size() < 20; ++row)
                next.push_back(model->index(row, 0, above));
        if (next.size() >= 6)
            return;
        for (const QModelIndex& index : next) {
            if (model->canFetchMore(index))
                model->fetchMore(index);
            tree->expand(index);
        }
        level = next;
    }
}

void ktScenePanel::startSearch() {
    text->setFocus();
    text->selectAll();
}

void ktScenePanel::search() {
    if (text->text().isEmpty())
        return;
    const int count = services.selection.selectByText(text->text());
    found->setText(count == 0 ? tr("Nothing is called so.") : tr("%n selected", "", count));
    found->setVisible(true);
}

void ktScenePanel::showSelection() {
    if (isShowing)
        return;
    isShowing = true;
    QItemSelection items;
    QModelIndex first, last; // of the range under way
    const auto endRange = [&] {
        if (first.isValid())
            items.select(first, last.siblingAtColumn(ktSceneModel::ColumnCount - 1));
        first = last = {};
    };
    QModelIndex shown;
    for (const osg::NodePtr& node : services.selection.get()) {
        const QModelIndex index = model->indexOf(node);
        if (!index.isValid())
            continue;
        if (!shown.isValid())
            shown = index;
        if (!first.isValid() || last.parent() != index.parent() || last.row() + 1 != index.row()) {
            endRange();
            first = index;
        }
        last = index;
    }
    endRange();
    tree->selectionModel()->select(items, QItemSelectionModel::ClearAndSelect);
    if (shown.isValid()) // later, because scrolling lays out the tree
        QTimer::singleShot(0, tree, [this, shown = QPersistentModelIndex(shown)] { tree->scrollTo(shown); });
    isShowing = false;
}

void ktScenePanel::takeSelection() {
    if (isShowing || services.isFrozen())
        return;
    isShowing = true;
    std::vector<osg::NodePtr> nodes;
    for (const QModelIndex& index : tree->selectionModel()->selectedRows())
        nodes.push_back(model->nodeOf(index));
    services.selection.set(nodes);
    isShowing = false;
}

void ktScenePanel::expandToSelection() {
    QModelIndex first;
    for (const osg::NodePtr& node : services.selection.get()) {
        const QModelIndex selected = model->indexOf(node);
        if (!first.isValid())
            first = selected;
        for (QModelIndex index = selected.parent(); index.isValid(); index = index.parent())
            tree->expand(index);
    }
    tree->scrollTo(first);
}

void ktScenePanel::showMenu(const QPoint& at) {
    const std::vector<osg::NodePtr> nodes = services.selection.get();
    if (nodes.empty() || services.isFrozen())
        return;
    QMenu menu;
    menu.addAction(tr("Bake"), this, [this] { services.run.start(false); });
    menu.addAction(tr("Bake what is missing"), this, [this] { services.run.start(true); });
    menu.addAction(tr("Select what is missing below"), this,
                   [this, nodes] { services.selection.selectMissing(nodes); });
    menu.addSeparator();
    menu.addAction(tr("Hide"), this, [this, nodes] { services.edit.setHidden(nodes, true); });
    menu.addAction(tr("Show"), this, [this, nodes] { services.edit.setHidden(nodes, false); });
    menu.addAction(tr("Lock"), this, [this, nodes] { services.edit.setLocked(nodes, true); });
    menu.addAction(tr("Unlock"), this, [this, nodes] { services.edit.setLocked(nodes, false); });
    menu.addAction(tr("Use the settings of its last bake"), this, [this] { services.run.useSettings(); });
    menu.addSeparator();
    menu.addAction(tr("Expand to the selection"), this, &ktScenePanel::expandToSelection);
    menu.exec(tree->viewport()->mapToGlobal(at));
}
