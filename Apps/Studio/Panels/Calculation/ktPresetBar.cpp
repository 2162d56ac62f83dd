// SPDX-License-Identifier: LGPL-2.1-or-later
// Applies and changes presets.
#include "ktPresetBar.h"

#include "ktStudioServices.h"

#include <QAction>
#include <QComboBox>
#include <QHBoxLayout>
#include <QInputDialog>
#include <QMenu>
#include <QPushButton>

ktPresetBar::ktPresetBar(ktStudioServices& services_, QWidget* parent)
    : QWidget(parent), services(services_), list(new QComboBox(this)) {
    list->setObjectName("presets");
    list->setAccessibleName(tr("Presets"));
    list->setToolTip(tr("Settings that are kept under a name"));
    list->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    list->setMinimumContentsLength(12);
    auto* apply = new QPushButton(tr("Apply"), this);
    apply->setObjectName("applyPreset");
    apply->setToolTip(tr("Set all settings but the mode from the preset"));
    auto* more = new QPushButton(tr("Change"), this);
    more->setObjectName("changePresets");
    more->setAccessibleName(tr("Change presets"));
    more->setToolTip(tr("Save, rename, delete and order presets"));
    auto* menu = new QMenu(more);
    more->setMenu(menu);
    auto* line = new QHBoxLayout(this);
    line->setContentsMargins(0, 0, 0, 0);
    line->addWidget(list, 1);
    line->addWidget(apply);
    line->addWidget(more);

    ktStudioPresets& presets = services.presets;
    connect(apply, &QPushButton::clicked, this, [this, &presets] { presets.apply(list->currentText()); });
    const auto addAction = [this, menu](const char* name, const QString& text, const std::function<void()>& act) {
        QAction* action = menu->addAction(text, this, act);
        action->setObjectName(name);
    };
    addAction("savePreset", tr("Save the settings as…"), [this, &presets] {
        askName(tr("Save the settings as a preset"), list->currentText(),
                [&presets](const QString& name) { presets.save(name); });
    });
    addAction("replacePreset", tr("Save the settings in this preset"), [this, &presets] {
        const int place = list->currentIndex();
        presets.save(list->currentText());
        list->setCurrentIndex(place < 0 ? place : list->count() - 1);
    });
    addAction("renamePreset", tr("Rename…"), [this, &presets] {
        const QString old = list->currentText();
        askName(tr("Rename the preset"), old, [&presets, old](const QString& name) { presets.rename(old, name); });
    });
    addAction("deletePreset", tr("Delete"), [this, &presets] { presets.remove(list->currentText()); });
    menu->addSeparator();
    const auto moveBy = [this, &presets](int step) {
        const int place = list->currentIndex() + step;
        if (place < 0 || place >= list->count())
            return;
        presets.move(list->currentText(), place);
        list->setCurrentIndex(place);
    };
    addAction("presetUp", tr("Move up"), [moveBy] { moveBy(-1); });
    addAction("presetDown", tr("Move down"), [moveBy] { moveBy(1); });
    menu->addSeparator();
    addAction("restorePresets", tr("Restore the built-in presets"), [&presets] { presets.restoreBuiltIn(); });
    connect(&presets, &ktStudioPresets::changed, this, &ktPresetBar::show);
    show();
}

void ktPresetBar::show() {
    const QString chosen = list->currentText();
    list->clear();
    list->addItems(services.presets.getNames());
    list->setCurrentIndex(std::max(0, list->findText(chosen)));
}

void ktPresetBar::askName(const QString& title, const QString& name, const std::function<void(const QString&)>& act) {
    auto* dialog = new QInputDialog(this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setWindowTitle(title);
    dialog->setLabelText(tr("Name"));
    dialog->setTextValue(name);
    connect(dialog, &QInputDialog::textValueSelected, this, act);
    dialog->open();
}
