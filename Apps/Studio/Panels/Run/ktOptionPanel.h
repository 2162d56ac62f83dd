// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktStudioOptions.h"

#include <functional>
#include <QWidget>

class ktStudioServices;
class QCheckBox;
class QComboBox;
class QDoubleSpinBox;
class QLineEdit;
class QSpinBox;

/// The options of runs and of the saved file. Each change is one undo step.
class ktOptionPanel : public QWidget {
    Q_OBJECT
public:
    explicit ktOptionPanel(ktStudioServices& services, QWidget* parent = nullptr);

private:
    void show();
    void markTriangles(const QString& text);
    void change(const QString& text, const std::function<void(ktStudioOptions&)>& set);

    ktStudioServices& services;
    QComboBox *fit, *tracer, *compression;
    QSpinBox* threads;
    QLineEdit* triangles;
    QCheckBox* shade;
    QDoubleSpinBox *strength, *exposure;
};
