// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktStudioOptions.h"

#include <functional>
#include <QWidget>

class ktStudioServices;
class QCheckBox;
class QComboBox;
class QDoubleSpinBox;
class QGroupBox;
class QLabel;
class QProgressBar;
class QPushButton;
class QSpinBox;
class QTimer;

/// Start, cancel and progress of runs, and the options of runs and of the saved file.
class ktRunPanel : public QWidget {
    Q_OBJECT
public:
    explicit ktRunPanel(ktStudioServices& services, QWidget* parent = nullptr);

private:
    QWidget* makeOptions();
    void showOptions();
    void showState();
    void showEstimate();
    void change(const QString& text, const std::function<void(ktStudioOptions&)>& set);

    ktStudioServices& services;
    QPushButton *start, *startMissing, *cancel;
    QProgressBar* bar;
    QLabel *phase, *figures, *estimate;
    QGroupBox* optionBox = nullptr;
    QComboBox *fit = nullptr, *tracer = nullptr;
    QSpinBox* threads = nullptr;
    QCheckBox* shade = nullptr;
    QDoubleSpinBox* exposure = nullptr;
    QTimer* settle; ///< estimates once after many changes
};
