// SPDX-License-Identifier: LGPL-2.1-or-later
// Widgets for one setting: numbers with a slider, and colours.
#include "ktSettingEditors.h"

#include "ktUndoStack.h"

#include <algorithm>
#include <cmath>
#include <QColorDialog>
#include <QDoubleSpinBox>
#include <QHBoxLayout>
#include <QPainter>
#include <QSlider>
#include <QStyleOptionButton>

namespace {

constexpr int sliderSteps = 200; // of a slider without whole numbers

double toDisplay(double linear) {
    linear = std::clamp(linear, 0.0, 1.0);
    return linear <= 0.0031308 ? 12.92 * linear : 1.055 * std::pow(linear, 1 / 2.4) - 0.055;
}

double toLinear(double display) {
    return display <= 0.04045 ? display / 12.92 : std::pow((display + 0.055) / 1.055, 2.4);
}

QColor displayOf(const osg::Color3f& color) {
    return QColor::fromRgbF(toDisplay(static_cast<double>(color[0])), toDisplay(static_cast<double>(color[1])),
                            toDisplay(static_cast<double>(color[2])));
}

/// Shows no zeros that say nothing.
class NumberField : public QDoubleSpinBox {
public:
    using QDoubleSpinBox::QDoubleSpinBox;
    QString textFromValue(double value) const override {
        QString text = QDoubleSpinBox::textFromValue(value);
        if (!text.contains(locale().decimalPoint()))
            return text;
        while (text.endsWith(locale().zeroDigit()))
            text.chop(1);
        if (text.endsWith(locale().decimalPoint()))
            text.chop(1);
        return text;
    }
};

} // namespace

ktDragStep::ktDragStep(QSlider* slider_, const QString& text_) : QObject(slider_), slider(slider_), text(text_) {
    connect(slider, &QSlider::sliderReleased, this, &ktDragStep::end);
}

ktDragStep::~ktDragStep() {
    end();
}

void ktDragStep::change() {
    if (isOpen || !slider->isSliderDown())
        return;
    isOpen = true;
    ktUndoStack::get(0)->beginMacro(text);
}

void ktDragStep::end() {
    if (isOpen)
        ktUndoStack::get(0)->endMacro();
    isOpen = false;
}

ktNumberEditor::ktNumberEditor(const Range& range_, const QString& name, const QString& undoText, QWidget* parent)
    : QWidget(parent), range(range_), slider(new QSlider(Qt::Horizontal, this)), field(new NumberField(this)),
      step(new ktDragStep(slider, undoText)) {
    auto* line = new QHBoxLayout(this);
    line->setContentsMargins(0, 0, 0, 0);
    line->addWidget(slider, 1);
    line->addWidget(field);
    const bool isWhole = range.decimals == 0;
    slider->setObjectName(name + "Slider");
    slider->setRange(0, isWhole ? static_cast<int>(range.sliderMost - range.sliderLeast) : sliderSteps);
    slider->setMinimumWidth(44);
    slider->setPageStep(isWhole ? 1 : sliderSteps / 10);
    field->setObjectName(name);
    field->setDecimals(range.decimals);
    field->setRange(range.least, range.most);
    field->setSuffix(range.unit.isEmpty() ? QString() : " " + range.unit);
    // Sliders below each other have the same length.
    field->setFixedWidth(field->fontMetrics().horizontalAdvance(isWhole ? "00" : "0000.0 mm") + 32);
    field->setKeyboardTracking(false);
    if (!isWhole)
        field->setStepType(QAbstractSpinBox::AdaptiveDecimalStepType);
    setFocusProxy(field);
    connect(slider, &QSlider::valueChanged, this, [this](int position) {
        step->change();
        emit changed(valueAt(position));
    });
    connect(field, QOverload<double>::of(&QDoubleSpinBox::valueChanged), this, &ktNumberEditor::changed);
}

void ktNumberEditor::setValue(double value) {
    const QSignalBlocker blockSlider(slider), blockField(field);
    field->setValue(value);
    if (!slider->isSliderDown())
        slider->setValue(positionOf(value));
}

int ktNumberEditor::positionOf(double value) const {
    if (range.decimals == 0)
        return static_cast<int>(value - range.sliderLeast);
    const double share = !range.isLogarithmic ? (value - range.sliderLeast) / (range.sliderMost - range.sliderLeast)
                         : value <= range.sliderLeast
                             ? 0
                             : std::log(value / range.sliderLeast) / std::log(range.sliderMost / range.sliderLeast);
    return static_cast<int>(std::lround(std::clamp(share, 0.0, 1.0) * sliderSteps));
}

double ktNumberEditor::valueAt(int position) const {
    if (range.decimals == 0)
        return range.sliderLeast + position;
    const double share = static_cast<double>(position) / sliderSteps;
    if (!range.isLogarithmic)
        return range.sliderLeast + share * (range.sliderMost - range.sliderLeast);
    if (position == 0)
        return range.least;
    // Rounded to three digits, so that the field shows what is meant.
    const double value = range.sliderLeast * std::pow(range.sliderMost / range.sliderLeast, share);
    const double unit = std::pow(10, std::floor(std::log10(value)) - 2);
    return std::round(value / unit) * unit;
}

ktColorEditor::ktColorEditor(QWidget* parent) : QAbstractButton(parent) {
    setFocusPolicy(Qt::StrongFocus);
    connect(this, &QAbstractButton::clicked, this, &ktColorEditor::choose);
}

void ktColorEditor::setValue(const osg::Color3f& color) {
    value = color;
    update();
}

QSize ktColorEditor::sizeHint() const {
    return {64, fontMetrics().height() + 8};
}

void ktColorEditor::choose() {
    const QColor before = displayOf(value);
    auto* dialog = new QColorDialog(before, this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &QColorDialog::colorSelected, this, [this, before](const QColor& color) {
        if (color != before) // the dialog has 8 bits a component
            emit changed(osg::Color3f(static_cast<float>(toLinear(color.redF())),
                                      static_cast<float>(toLinear(color.greenF())),
                                      static_cast<float>(toLinear(color.blueF()))));
    });
    dialog->open();
}

void ktColorEditor::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    QStyleOptionButton option;
    option.initFrom(this);
    option.state |= isDown() ? QStyle::State_Sunken : QStyle::State_Raised;
    style()->drawControl(QStyle::CE_PushButtonBevel, &option, &painter, this);
    const QRect inside = rect().adjusted(6, 5, -6, -5);
    painter.fillRect(inside, isEnabled() ? displayOf(value) : palette().color(QPalette::Disabled, QPalette::Button));
    if (hasFocus()) {
        QStyleOptionFocusRect focus;
        focus.initFrom(this);
        focus.rect = rect().adjusted(3, 3, -3, -3);
        style()->drawPrimitive(QStyle::PE_FrameFocusRect, &focus, &painter, this);
    }
}
