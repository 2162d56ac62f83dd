// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <OpenSG/OSGNode.h>
#include <QWidget>
#include <vector>

class ktSceneModel;
class ktStudioServices;
class QItemSelection;
class QLabel;
class QLineEdit;
class QTreeView;

/// The tree of the scene. Its selection is the host's, in both directions.
class ktScenePanel : public QWidget {
    Q_OBJECT
public:
    explicit ktScenePanel(ktStudioServices& services, QWidget* parent = nullptr);

    /// Puts the keyboard into the search field.
    void startSearch();
    /// Opens what is above the selected nodes, and scrolls to the first of them.
    void expandToSelection();

private:
    void expandFirst();
    void search();
    void showSelection();
    void takeSelection();
    void showMenu(const QPoint& at);

    ktStudioServices& services;
    ktSceneModel* model;
    QLineEdit* text;
    QLabel* found;
    QTreeView* tree;
    bool isShowing = false; ///< the tree follows the host, not the other way round
};
