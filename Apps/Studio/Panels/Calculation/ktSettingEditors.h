// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <functional>
#include <OpenSG/OSGColor.h>
#include <QAbstractButton>
#include <QStringList>
#include <QWidget>

class QDoubleSpinBox;
class QSlider;

/// Makes one undo step of all changes while a slider is dragged.
class ktDragStep : public QObject {
    Q_OBJECT
public:
    /// @param text what the step is called
    ktDragStep(QSlider* slider, const QString& text);
    ~ktDragStep() override;
    /// Call before each change.
    void change();

private:
    void end();

    QSlider* slider;
    const QString text;
    bool isOpen = false;
};

/// A number: a slider beside a field. Signals only what the user changes.
class ktNumberEditor : public QWidget {
    Q_OBJECT
public:
    struct Range {
        double least = 0, most = 0;             ///< of the field
        double sliderLeast = 0, sliderMost = 0; ///< of the slider
        bool isLogarithmic = false;             ///< the slider's left end is `least`, the rest is logarithmic
        int decimals = 0;
        QString unit;
    };
    /// @param name of the objects: the field has it, the slider has it with "Slider"
    ktNumberEditor(const Range& range, const QString& name, const QString& undoText, QWidget* parent);
    void setValue(double value);

signals:
    void changed(double value);

private:
    int positionOf(double value) const;
    double valueAt(int position) const;

    const Range range;
    QSlider* slider;
    QDoubleSpinBox* field;
    ktDragStep* step;
};

/// A linear colour: a button in that colour that opens a dialog.
class ktColorEditor : public QAbstractButton {
    Q_OBJECT
public:
    explicit ktColorEditor(QWidget* parent);
    void setValue(const osg::Color3f& color);
    QSize sizeHint() const override;

signals:
    void changed(const osg::Color3f& color);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void choose();

    osg::Color3f value;
};
