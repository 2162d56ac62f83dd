// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QWidget>

class ktStudioServices;
class QLabel;
class QProgressBar;
class QPushButton;
class QTimer;

/// Start, cancel and progress of runs.
class ktRunPanel : public QWidget {
    Q_OBJECT
public:
    explicit ktRunPanel(ktStudioServices& services, QWidget* parent = nullptr);

private:
    void showState();
    void showEstimate();

    ktStudioServices& services;
    QPushButton *start, *startMissing, *cancel;
    QProgressBar* bar;
    QLabel *phase, *figures, *estimate;
    QTimer* settle; ///< estimates once after many changes
};
