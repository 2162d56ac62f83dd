// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <functional>
#include <QWidget>
#include <utility>
#include <vector>

class ktStudioServices;
class QLabel;

/// All settings of the calculation, in groups. Each has an editor, its unit, range, initial value and help, and a
/// button that restores the initial value. Says at once which values make no sense together.
class ktCalculationPanel : public QWidget {
    Q_OBJECT
public:
    explicit ktCalculationPanel(ktStudioServices& services, QWidget* parent = nullptr);
    ~ktCalculationPanel() override;

signals:
    /// A distance is being edited: its length in millimetres; 0: none.
    void radiusChanged(double radius);

private:
    void check();
    void showRadius();

    ktStudioServices& services;
    QLabel* warning;
    std::vector<std::pair<QWidget*, std::function<double()>>> distances; ///< editors, and what they show
    double shownRadius = 0;
};
