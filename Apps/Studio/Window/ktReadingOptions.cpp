// SPDX-License-Identifier: LGPL-2.1-or-later
// The dialog of the options for reading a file.
#include "ktReadingOptions.h"

#include "ktLengthUnit.h"

#include <algorithm>
#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QPushButton>

ktReadingOptions::ktReadingOptions(const ktStudioReadOptions& options, QWidget* parent)
    : QDialog(parent), unit(new QComboBox(this)), up(new QComboBox(this)), crease(new QDoubleSpinBox(this)),
      unique(new QCheckBox(tr("Give each use of a mesh its own results"), this)),
      keep(new QCheckBox(tr("Do not split vertices"), this)),
      plane(new QCheckBox(tr("Put a plane below the scene that catches its shadow"), this)) {
    setWindowTitle(tr("Reading options"));
    unit->setObjectName("unit");
    unit->setEditable(true);
    unit->addItems({"auto", "mm", "cm", "m", "inch", "foot"});
    unit->setEditText(options.unit);
    unit->setToolTip(tr("Length of one unit of the file; a number is a length in millimetres"));
    up->setObjectName("up");
    up->addItems({tr("as the file says"), "x", "y", "z"});
    up->setCurrentIndex(std::max(0, up->findText(options.up)));
    up->setToolTip(tr("The axis of the file that points up"));
    unique->setChecked(options.uniqueInstances);
    plane->setObjectName("plane");
    plane->setChecked(options.groundPlane);
    crease->setObjectName("crease");
    crease->setRange(0, 180);
    crease->setSuffix("°");
    crease->setValue(options.creaseAngle_deg);
    crease->setToolTip(tr("Surfaces without normals: edges up to this angle are smooth, vertices are split at sharper "
                          "ones"));
    keep->setObjectName("keepVertices");
    keep->setChecked(options.keepVertices);
    keep->setToolTip(tr("The sides of a sharp edge then share one value"));
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    buttons->button(QDialogButtonBox::Ok)->setText(tr("Read again"));
    auto* form = new QFormLayout(this);
    form->addRow(tr("Unit"), unit);
    form->addRow(tr("Up"), up);
    form->addRow(tr("Crease angle"), crease);
    form->addRow(keep);
    form->addRow(unique);
    form->addRow(plane);
    form->addRow(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(unit, &QComboBox::editTextChanged, buttons, [buttons](const QString& text) {
        buttons->button(QDialogButtonBox::Ok)->setEnabled(ktParseLengthUnit(text.toStdString()).has_value());
    });
}

ktStudioReadOptions ktReadingOptions::get() const {
    ktStudioReadOptions options;
    options.unit = unit->currentText();
    options.up = up->currentIndex() == 0 ? QString() : up->currentText();
    options.uniqueInstances = unique->isChecked();
    options.groundPlane = plane->isChecked();
    options.creaseAngle_deg = crease->value();
    options.keepVertices = keep->isChecked();
    return options;
}
