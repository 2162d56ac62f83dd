// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktStudioOptions.h"

#include <QDialog>

class QCheckBox;
class QComboBox;
class QDoubleSpinBox;

/// Asks how the file is to be read: unit, up axis, normals, copies of shared meshes, ground plane.
class ktReadingOptions : public QDialog {
    Q_OBJECT
public:
    ktReadingOptions(const ktStudioReadOptions& options, QWidget* parent);
    ktStudioReadOptions get() const;

private:
    QComboBox *unit, *up;
    QDoubleSpinBox* crease;
    QCheckBox *unique, *keep, *plane;
};
