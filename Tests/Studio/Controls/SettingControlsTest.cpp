// SPDX-License-Identifier: LGPL-2.1-or-later
// Every control of the panel Calculation.
#include "ktAmbientOcclusion.h"
#include "ktAmbientOcclusionSettings.h"
#include "ktDrivenControls.h"
#include "ktPresetStore.h"
#include "ktUndoStack.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QPushButton>
#include <QSlider>
#include <QStyle>
#include <QStyleOptionSlider>
#include <QtTest>

namespace {

namespace Settings = ktAmbientOcclusionSettings;

class StudioSettingControls : public ktDrivenControls {
protected:
    // Changes the field of a setting by events; the second argument picks the kind of the setting.
    void changeField(QWidget& field, Settings::Switch) { press(field, Qt::Key_Space); }
    void changeField(QWidget& field, Settings::Choice) { press(field, Qt::Key_Down); }
    void changeField(QWidget& field, Settings::Integer) { press(field, Qt::Key_Up); }
    template <class Value>
    void changeField(QWidget& field, Settings::Length<Value>) {
        type(field, "12.5");
    }
    void changeField(QWidget& field, Settings::Real) { type(field, "0.25"); }
    void changeField(QWidget& field, Settings::Color) {
        answerWithText("#00ff00");
        click(field);
        EXPECT_TRUE(waitFor([] { return stepCount() > 0; }));
    }

    static bool atLeast(const QWidget& slider) {
        return static_cast<const QSlider&>(slider).value() == static_cast<const QSlider&>(slider).minimum();
    }

    /// Drags the handle to the middle and then almost to the end.
    static void drag(QSlider& slider) {
        QStyleOptionSlider option;
        option.initFrom(&slider);
        option.orientation = slider.orientation();
        option.minimum = slider.minimum();
        option.maximum = slider.maximum();
        option.sliderPosition = slider.sliderPosition();
        option.sliderValue = slider.value();
        const QPoint handle =
            slider.style()->subControlRect(QStyle::CC_Slider, &option, QStyle::SC_SliderHandle, &slider).center();
        QTest::mousePress(&slider, Qt::LeftButton, {}, handle);
        QPoint to;
        for (const int x : {slider.width() / 2, slider.width() - 12, slider.width() - 9}) {
            to = QPoint(x, handle.y());
            QMouseEvent move(QEvent::MouseMove, to, slider.mapToGlobal(to), Qt::NoButton, Qt::LeftButton, {});
            QApplication::sendEvent(&slider, &move);
        }
        QTest::mouseRelease(&slider, Qt::LeftButton, {}, to);
    }

    template <class Row>
    void addSetting(Drives& drives, Row row) {
        const QString name = row.names.option;
        const auto read = [row] { return row.get(plugin()); };
        drives[name] = [this, row, read](QWidget& field) { expectStep(read, [&] { changeField(field, row); }); };
        drives[name + "Restore"] = [this, row, read](QWidget& button) {
            EXPECT_FALSE(button.isEnabled()) << "it has its initial value";
            changeField(find<QWidget>(row.names.option), row);
            stack().clear();
            expectStep(read, [&button] { click(button); });
            EXPECT_TRUE(row.get(plugin()) == typename Row::Value(row.initial));
        };
        if (!window->findChild<QSlider*>(name + "Slider"))
            return;
        drives[name + "Slider"] = [this, read](QWidget& slider) {
            expectStep(read, [&slider] { press(slider, atLeast(slider) ? Qt::Key_Right : Qt::Key_Left); });
            stack().clear();
            expectStep(read, [&slider] { drag(static_cast<QSlider&>(slider)); });
        };
    }

    QStringList presets() { return window->getServices().presets.getNames(); }
};

} // namespace

TEST_F(StudioSettingControls, GivenEvents_EachChangesThePlugIn) {
    Drives drives;
    int rows = 0;
    Settings::forEachSetting([&](auto row) {
        addSetting(drives, row);
        ++rows;
    });
    EXPECT_EQ(rows, 14);
    const auto list = [this]() -> QComboBox& { return find<QComboBox>("presets"); };
    drives["presets"] = [](QWidget& box) {
        const QString before = static_cast<QComboBox&>(box).currentText();
        press(box, Qt::Key_Down);
        EXPECT_NE(static_cast<QComboBox&>(box).currentText(), before);
        EXPECT_EQ(stepCount(), 0) << "nothing is applied yet";
    };
    drives["applyPreset"] = [this, list](QWidget& button) {
        const QStringList names = presets();
        list().setCurrentIndex(0);
        for (int i = 0; i < names.indexOf("Car Highest Quality"); ++i)
            press(list(), Qt::Key_Down);
        expectStep([] { return std::pair(plugin().getShadowQuality(), plugin().getGatherQuality()); },
                   [&button] { press(button, Qt::Key_Space); });
        EXPECT_EQ(plugin().getShadowQuality(), 4);
    };
    drives["changePresets"] = [this, list](QWidget& button) {
        const auto choose = [&button](const char* entry) {
            chooseInMenu([&button] { press(button, Qt::Key_Space); }, entry);
        };
        const auto names = [this] { return presets(); };
        const auto content = [] { return ktPresetStore::readFile(); };
        const auto waitForStep = [](int steps) { EXPECT_TRUE(waitFor([steps] { return stepCount() == steps; })); };
        expectStep(names, [&] {
            answerWithText("Mine");
            choose("Save the settings as…");
            waitForStep(1);
        });
        list().setCurrentText("Mine");
        expectStep(names, [&] {
            answerWithText("Yours");
            choose("Rename…");
            waitForStep(2);
        });
        list().setCurrentText("Yours");
        plugin().setShadowQuality(5);
        expectStep(content, [&] { choose("Save the settings in this preset"); });
        expectStep(names, [&] { choose("Move up"); });
        list().setCurrentText("Yours");
        expectStep(names, [&] { choose("Move down"); });
        list().setCurrentText("Yours");
        expectStep(names, [&] { choose("Delete"); });
        list().setCurrentText("Car Low Quality");
        choose("Delete");
        expectStep(names, [&] { choose("Restore the built-in presets"); });
    };
    driveAll("calculationDock", drives);
}
