// SPDX-License-Identifier: LGPL-2.1-or-later
// Every control of the panels Bake and Options.
#include "ktAmbientOcclusion.h"
#include "ktDrivenControls.h"
#include "ktHostSignals.h"
#include "ktUndoMemory.h"

#include <gmock/gmock.h>
#include <QtTest>

using StudioRunControls = ktDrivenControls;

TEST_F(StudioRunControls, GivenClicks_EachBakesOrCancels) {
    open(writeBoxes());
    const auto results = [this] { return savedBytes(); };
    const auto useFastSettings = [] { plugin().setShadowQuality(0); };
    Drives drives;
    drives["bakeButton"] = [&](QWidget& button) {
        useFastSettings();
        expectStep(results, [&button] { press(button, Qt::Key_Space); });
        expectStep(results, [this] { trigger("clearShadows"); });
    };
    drives["bakeMissingButton"] = [&](QWidget& button) {
        useFastSettings();
        window->getSelection().selectByText("left");
        trigger("start");
        const std::string half = savedBytes();
        trigger("selectAll");
        expectStep(results, [&button] { click(button); });
        pressUndo();
        EXPECT_TRUE(savedBytes() == half);
    };
    drives["cancelButton"] = [&](QWidget& button) {
        EXPECT_FALSE(button.isVisible());
        plugin().setIndirectIlluminationEnabled(true); // a second pass, so that none is finished
        const std::string before = savedBytes();
        const auto tracing = QObject::connect(&ktHostSignals::the(), &ktHostSignals::tracingProgress, &button,
                                              [&button](quint64 done, quint64) {
                                                  if (done > 0 && button.isVisible())
                                                      click(button);
                                              });
        const int steps = stepCount();
        trigger("start");
        QObject::disconnect(tracing);
        EXPECT_THAT(message().toStdString(), testing::HasSubstr("Cancelled"));
        EXPECT_EQ(stepCount(), steps);
        EXPECT_TRUE(savedBytes() == before);
    };
    driveAll("runDock", drives);
}

TEST_F(StudioRunControls, GivenKeys_EachOptionIsAStep) {
    open(writeBoxes());
    Drives drives;
    const auto add = [&](const char* name, const auto& read, const std::function<void(QWidget&)>& change) {
        drives[name] = [this, read, change](QWidget& widget) {
            const auto value = [this, read] { return read(window->getDocument().getOptions()); };
            const ktStudioOptions before = window->getDocument().getOptions();
            expectStep(value, [&] { change(widget); });
            pressUndo();
            EXPECT_TRUE(window->getDocument().getOptions() == before) << "it changes one option alone";
        };
    };
    using Options = ktStudioOptions;
    const auto pressing = [](Qt::Key key) { return [key](QWidget& widget) { press(widget, key); }; };
    const auto typing = [](const char* text) { return [text](QWidget& widget) { type(widget, text); }; };
    add(
        "fit", [](const Options& now) { return now.fit; }, pressing(Qt::Key_Up));
    add(
        "tracer", [](const Options& now) { return now.tracer; }, pressing(Qt::Key_Up));
    add(
        "threads", [](const Options& now) { return now.threads; }, pressing(Qt::Key_Up));
    add(
        "maxTriangles", [](const Options& now) { return now.maxTriangles; }, typing("5000"));
    add(
        "shade", [](const Options& now) { return now.multiplyColors; }, pressing(Qt::Key_Space));
    add(
        "strength", [](const Options& now) { return now.strength; }, typing("0.5"));
    add(
        "exposure", [](const Options& now) { return now.exposure; }, typing("2"));
    add(
        "compression", [](const Options& now) { return now.compression; }, pressing(Qt::Key_Down));
    drives["undoMemory"] = [](QWidget& widget) { // of the program, not of the scene: no step
        const std::uint64_t before = ktUndoMemory::getLimit();
        press(widget, Qt::Key_Up);
        EXPECT_EQ(ktUndoMemory::getLimit(), before + (64u << 20));
        press(widget, Qt::Key_Down);
        EXPECT_EQ(ktUndoMemory::getLimit(), before);
        EXPECT_EQ(stepCount(), 0);
    };
    driveAll("optionDock", drives);
}
