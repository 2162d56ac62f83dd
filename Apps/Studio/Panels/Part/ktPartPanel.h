// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktPartFacts.h"

#include <memory>
#include <QWidget>

class ktHistogram;
class ktStudioServices;
class QLabel;
class QPushButton;
class QTableWidget;
class QTimer;

/// What the selected nodes and all below them hold: results, settings of their last bake, materials; and the named
/// texts of a single node, which can be changed.
class ktPartPanel : public QWidget {
    Q_OBJECT
public:
    explicit ktPartPanel(ktStudioServices& services, QWidget* parent = nullptr);

private:
    void show();
    void collect();
    void showFacts(const ktPartFacts& facts);
    void showTexts();
    void changeText(int row, int column);
    osg::NodePtr textNode() const; ///< null unless one node is selected

    ktStudioServices& services;
    QTimer *settle, *collecting;
    std::unique_ptr<ktPartCollector> collector; ///< null: the facts are complete or out of date
    QLabel *name, *counts, *results, *settings, *materials;
    ktHistogram* histogram;
    QPushButton *useSettings, *addText, *removeText;
    QTableWidget* texts;
    bool isShowing = false;
    bool isOutdated = true; ///< while the panel is hidden
    osg::NodePtr settingsNode;

protected:
    void showEvent(QShowEvent* event) override;
};

/// Bars of how often each w occurs, from 0 (dark) to 1 (open).
class ktHistogram : public QWidget {
    Q_OBJECT
public:
    explicit ktHistogram(QWidget* parent);
    void set(const ktPartFacts& facts);
    QSize sizeHint() const override { return {200, 70}; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    ktPartFacts facts;
};
