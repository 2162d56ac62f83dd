// SPDX-License-Identifier: LGPL-2.1-or-later
// The dialog for the size of pictures, their view and their number.
#include "ktPictureDialog.h"

#include "ktPreview.h"
#include "ktStudioPreferences.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QSpinBox>

ktPictureDialog::ktPictureDialog(Kind kind, const QStringList& views, QWidget* parent)
    : QDialog(parent), width(new QSpinBox(this)), height(new QSpinBox(this)), count(new QSpinBox(this)),
      view(new QComboBox(this)), headlight(new QCheckBox(tr("Light it softly from the camera, too"), this)) {
    const ktStudioPreferences& preferences = ktStudioPreferences::the();
    setWindowTitle(kind == Kind::Preview ? tr("Preview picture")
                   : kind == Kind::View  ? tr("Picture of the view")
                                         : tr("Turntable"));
    auto* form = new QFormLayout(this);
    auto* size = new QHBoxLayout;
    const auto addLength = [&](QSpinBox* box, const char* name, const QString& text, int initial) {
        box->setObjectName(name);
        box->setAccessibleName(text);
        box->setRange(1, ktLargestPreview_px);
        box->setValue(preferences.get(QString("picture/") + name, initial).toInt());
        size->addWidget(box, 1);
    };
    addLength(width, "width", tr("Width in pixels"), 1280);
    size->addWidget(new QLabel("×", this));
    addLength(height, "height", tr("Height in pixels"), 960);
    size->addWidget(new QLabel(tr("pixels"), this));
    form->addRow(tr("Size"), size);
    view->setObjectName("view");
    view->addItems(views);
    view->setToolTip(tr("A side of the scene, the first camera of the file, or a camera by its name"));
    headlight->setObjectName("headlight");
    headlight->setChecked(preferences.get("picture/headlight", false).toBool());
    count->setObjectName("count");
    count->setRange(2, 9999);
    count->setAccessibleName(tr("Pictures of a full turn"));
    count->setValue(preferences.get("picture/count", 36).toInt());
    count->setToolTip(tr("The files get the numbers 0001, 0002 and so on"));
    if (kind == Kind::Preview) {
        form->addRow(tr("View"), view);
        form->addRow(headlight);
    }
    if (kind == Kind::Turntable)
        form->addRow(tr("Pictures of a full turn"), count);
    view->setVisible(kind == Kind::Preview);
    headlight->setVisible(kind == Kind::Preview);
    count->setVisible(kind == Kind::Turntable);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    buttons->button(QDialogButtonBox::Ok)->setText(tr("Choose a file…"));
    form->addRow(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(this, &QDialog::accepted, this, &ktPictureDialog::keep);
}

void ktPictureDialog::keep() const {
    ktStudioPreferences& preferences = ktStudioPreferences::the();
    preferences.set("picture/width", width->value());
    preferences.set("picture/height", height->value());
    preferences.set("picture/headlight", headlight->isChecked());
    preferences.set("picture/count", count->value());
}

QSize ktPictureDialog::getSize() const {
    return {width->value(), height->value()};
}

QString ktPictureDialog::getView() const {
    return view->currentText();
}

bool ktPictureDialog::hasHeadlight() const {
    return headlight->isChecked();
}

int ktPictureDialog::getCount() const {
    return count->value();
}
