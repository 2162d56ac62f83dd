// SPDX-License-Identifier: LGPL-2.1-or-later
// Makes an editor for each row of the table of settings.
#include "ktCalculationPanel.h"

#include "ktAmbientOcclusion.h"
#include "ktAmbientOcclusionSettings.h"
#include "ktHostSentences.h"
#include "ktPresetBar.h"
#include "ktSceneDistances.h"
#include "ktSettingEditors.h"
#include "ktSettingsCheck.h"
#include "ktStudioServices.h"

#include <cmath>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QStyle>
#include <QToolButton>
#include <QVBoxLayout>
#include <utility>

namespace {

namespace Settings = ktAmbientOcclusionSettings;

QString translated(const QString& text) {
    return QCoreApplication::translate("ktCalculationSettings", text.toUtf8().constData());
}

/// The option's name as words: "Shadow quality".
template <class Row>
QString labelOf(Row row) {
    if (std::is_same_v<Row, Settings::OverrideMaterialColor>) // "override" alone says too little
        return translated("Override colors");
    QString text = QString(row.names.option).replace('-', ' ');
    text[0] = text[0].toUpper();
    return translated(text);
}

template <class Row>
QString describe(Row row, const typename Row::Value& value) {
    if constexpr (std::is_base_of_v<Settings::Switch, Row>)
        return value ? ktCalculationPanel::tr("on") : ktCalculationPanel::tr("off");
    else if constexpr (std::is_base_of_v<Settings::Color, Row>)
        return QString("%1, %2, %3").arg(value[0]).arg(value[1]).arg(value[2]);
    else
        return QString::number(value) + (*row.unit ? QString(" ") + row.unit : QString());
}

/// Help, unit, range and initial value of a row.
template <class Row>
QString helpOf(Row row) {
    // The help of this row is about its option, which is the opposite.
    constexpr bool isOpposite = std::is_same_v<Row, Settings::OverrideMaterialColor>;
    QString text = translated(isOpposite ? Settings::MaterialColor::help : row.help);
    text[0] = text[0].toUpper();
    if constexpr (std::is_base_of_v<Settings::Choice, Row>) {
        QStringList names;
        for (const char* choice : Row::choices)
            names << translated(choice);
        text += "\n" + ktCalculationPanel::tr("Choices: %1").arg(names.join(", "));
        text += "\n" + ktCalculationPanel::tr("Initially %1").arg(names.value(row.initial));
        return text;
    } else {
        if constexpr (!std::is_base_of_v<Settings::Switch, Row> && !std::is_base_of_v<Settings::Color, Row>)
            text += "\n" + (std::isinf(row.range.most)
                                ? ktCalculationPanel::tr("At least %1")
                                      .arg(describe(row, static_cast<typename Row::Value>(row.range.least)))
                                : ktCalculationPanel::tr("%1 to %2").arg(row.range.least).arg(row.range.most));
        text +=
            "\n" + ktCalculationPanel::tr("Initially %1").arg(describe(row, row.initial)) + translated(row.initialNote);
        return text;
    }
}

/// What an editor of a setting does: shows the plug-in's value.
struct Editor {
    QWidget* widget;
    std::function<void()> show;
};

ktAmbientOcclusion& plugin() {
    return *ktAmbientOcclusion::the();
}

template <class Row>
Editor makeNumber(Row row, const ktNumberEditor::Range& range, QWidget* parent) {
    auto* editor = new ktNumberEditor(range, row.names.option, labelOf(row), parent);
    QObject::connect(editor, &ktNumberEditor::changed, editor,
                     [row](double value) { row.set(plugin(), static_cast<typename Row::Value>(value)); });
    return {editor, [row, editor] { editor->setValue(static_cast<double>(row.get(plugin()))); }};
}

// One editor per kind of setting; the second argument picks it.

template <class Row>
Editor makeEditor(Row row, Settings::Integer, QWidget* parent) {
    ktNumberEditor::Range range;
    range.least = range.sliderLeast = row.range.least;
    range.most = range.sliderMost = row.range.most;
    if (row.argument) // an open end, where the range only catches typing errors
        range.sliderMost = std::min(row.range.most, row.range.least + 8);
    return makeNumber(row, range, parent);
}

template <class Row>
Editor makeEditor(Row row, Settings::Choice, QWidget* parent) {
    auto* editor = new QComboBox(parent);
    editor->setObjectName(row.names.option);
    for (const char* choice : Row::choices)
        editor->addItem(translated(choice));
    QObject::connect(editor, QOverload<int>::of(&QComboBox::activated), editor,
                     [row](int index) { row.set(plugin(), static_cast<typename Row::Value>(index)); });
    return {editor, [row, editor] { editor->setCurrentIndex(row.get(plugin())); }};
}

template <class Row>
Editor makeEditor(Row row, Settings::Switch, QWidget* parent) {
    auto* editor = new QCheckBox(parent);
    editor->setObjectName(row.names.option);
    QObject::connect(editor, &QCheckBox::clicked, editor, [row](bool on) { row.set(plugin(), on); });
    return {editor, [row, editor] { editor->setChecked(row.get(plugin())); }};
}

template <class Row, class Value>
Editor makeEditor(Row row, Settings::Length<Value>, QWidget* parent) {
    ktNumberEditor::Range range;
    range.decimals = 3;
    range.least = row.isLeastExcluded ? 0.001 : row.range.least;
    range.most = 1e9;
    range.sliderLeast = 0.1;
    range.sliderMost = 1e5;
    range.isLogarithmic = true;
    range.unit = row.unit;
    return makeNumber(row, range, parent);
}

template <class Row>
Editor makeEditor(Row row, Settings::Real, QWidget* parent) {
    ktNumberEditor::Range range;
    range.decimals = 4;
    range.least = range.sliderLeast = row.range.least;
    range.most = std::min(row.range.most, 1e6);
    range.sliderMost = 10 * static_cast<double>(row.initial);
    range.unit = row.unit;
    return makeNumber(row, range, parent);
}

template <class Row>
Editor makeEditor(Row row, Settings::Color, QWidget* parent) {
    auto* editor = new ktColorEditor(parent);
    editor->setObjectName(row.names.option);
    QObject::connect(editor, &ktColorEditor::changed, editor,
                     [row](const osg::Color3f& color) { row.set(plugin(), color); });
    return {editor, [row, editor] { editor->setValue(row.get(plugin())); }};
}

/// Distances of rays, which the viewport can show around the pointer.
template <class Row>
constexpr bool isDistance = std::is_same_v<Row, Settings::MinDistance> || std::is_same_v<Row, Settings::MaxDistance>;

} // namespace

ktCalculationPanel::ktCalculationPanel(ktStudioServices& services_, QWidget* parent)
    : QWidget(parent), services(services_), warning(new QLabel(this)) {
    auto* rows = new QVBoxLayout(this);
    rows->addWidget(new ktPresetBar(services, this));
    warning->setObjectName("settingsWarning");
    warning->setWordWrap(true);
    warning->setFrameShape(QFrame::StyledPanel);
    rows->addWidget(warning);

    QGroupBox* box = nullptr;
    QFormLayout* form = nullptr;
    Settings::forEachSetting<&Settings::Places::options>([&](auto row) {
        const QString title = translated(row.group);
        if (!box || box->title() != title) {
            box = new QGroupBox(title, this);
            form = new QFormLayout(box);
            rows->addWidget(box);
        }
        auto* both = new QWidget(box);
        auto* line = new QHBoxLayout(both);
        line->setContentsMargins(0, 0, 0, 0);
        const Editor editor = makeEditor(row, row, both);
        line->addWidget(editor.widget, 1);
        auto* restore = new QToolButton(both);
        restore->setAutoRaise(true);
        restore->setIcon(style()->standardIcon(QStyle::SP_DialogResetButton));
        restore->setToolTip(ktCalculationPanel::tr("Restore the initial value"));
        restore->setAccessibleName(ktCalculationPanel::tr("Restore the initial value of %1").arg(labelOf(row)));
        restore->setObjectName(QString(row.names.option) + "Restore");
        line->addWidget(restore);
        auto* label = new QLabel(labelOf(row), box);
        label->setBuddy(editor.widget);
        label->setToolTip(helpOf(row));
        editor.widget->setToolTip(helpOf(row));
        editor.widget->setAccessibleName(labelOf(row));
        editor.widget->setAccessibleDescription(helpOf(row));
        for (auto* part : editor.widget->findChildren<QWidget*>())
            if (part->focusPolicy() != Qt::NoFocus) {
                part->setAccessibleName(labelOf(row));
                part->setAccessibleDescription(helpOf(row));
            }
        form->addRow(label, both);

        const auto show = [this, row, editor, restore] {
            editor.show();
            if constexpr (isDistance<decltype(row)>)
                showRadius();
            restore->setEnabled(!(row.get(plugin()) == typename decltype(row)::Value(row.initial)));
            check();
        };
        if constexpr (isDistance<decltype(row)>)
            distances.emplace_back(editor.widget, [row] { return static_cast<double>(row.get(plugin())); });
        connect(restore, &QToolButton::clicked, this, [row] { row.set(plugin(), row.initial); });
        connect(&plugin(), row.changed(plugin()), this, show);
        show();
    });
    rows->addStretch();
    connect(&services.document, &ktStudioDocument::opened, this, &ktCalculationPanel::check);
    connect(qApp, &QApplication::focusChanged, this, &ktCalculationPanel::showRadius);
    connect(&services, &ktStudioServices::frozenChanged, this, [this](bool isFrozen) { setDisabled(isFrozen); });
}

ktCalculationPanel::~ktCalculationPanel() {
    disconnect(qApp, nullptr, this, nullptr); // editors lose the keyboard when their widgets are destroyed, after this
}

void ktCalculationPanel::check() {
    QString text;
    if (!(plugin().getMinDistance() < plugin().getMaxDistance()))
        text = tr("The minimum distance must be smaller than the maximum distance.");
    else
        text = translated(QString::fromStdString(findUselessSettings()));
    if (plugin().getMode() != ktAmbientOcclusion::Classic && !plugin().isIndirectIlluminationEnabled())
        text += (text.isEmpty() ? "" : "\n") + tr("Without indirect light, the shadows of lights are black.");
    for (const std::string& mistake : ktSceneDistances::read().findMistakes(
             {true, true, true}, services.document.getDiagonal(), plugin().isSubdivideEnabled()))
        text += (text.isEmpty() ? "" : "\n") + ktTranslateSentences(QString::fromStdString(mistake));
    warning->setText(text);
    warning->setVisible(!text.isEmpty());
}

void ktCalculationPanel::showRadius() {
    const QWidget* const focus = QApplication::focusWidget();
    double radius = 0;
    for (const auto& [widget, value] : distances)
        if (focus && (focus == widget || widget->isAncestorOf(focus)))
            radius = value();
    if (radius != std::exchange(shownRadius, radius))
        emit radiusChanged(radius);
}
