// SPDX-License-Identifier: LGPL-2.1-or-later
// Every control of the panel Script.
#include "ktAmbientOcclusion.h"
#include "ktDrivenControls.h"

#include <gmock/gmock.h>
#include <QApplication>
#include <QClipboard>
#include <QPlainTextEdit>
#include <QTimer>
#include <QtTest>

using StudioScriptControls = ktDrivenControls;
using testing::HasSubstr;

TEST_F(StudioScriptControls, GivenEvents_EachOfTheConsoleRunsOrClears) {
    auto& output = find<QPlainTextEdit>("scriptOutput");
    const auto printed = [&output] { return output.toPlainText().toStdString(); };
    const auto enter = [this](const char* statement) { type(find<QWidget>("scriptInput"), statement); };
    Drives drives;
    drives["scriptInput"] = [&](QWidget& field) {
        expectStep([] { return plugin().getShadowQuality(); },
                   [&field] { type(field, "kthost.settings.quality = 5"); });
        EXPECT_EQ(plugin().getShadowQuality(), 5);
    };
    drives["scriptOutput"] = [&](QWidget& field) {
        enter("6 * 7");
        press(field, Qt::Key_A, Qt::ControlModifier);
        press(field, Qt::Key_C, Qt::ControlModifier);
        EXPECT_THAT(QApplication::clipboard()->text().toStdString(), HasSubstr("42"));
    };
    drives["runScriptFile"] = [&](QWidget& button) {
        answerWithFile(folder.write("script.py", "import kthost\nkthost.settings.quality = 4\nprint('ran')\n"));
        expectStep([] { return plugin().getShadowQuality(); },
                   [&] {
                       click(button);
                       EXPECT_TRUE(waitFor([&] { return printed().find("ran") != std::string::npos; }));
                   });
        EXPECT_EQ(plugin().getShadowQuality(), 4);
    };
    drives["cancelScript"] = [&](QWidget& button) {
        EXPECT_FALSE(button.isEnabled());
        QTimer timer;
        QObject::connect(&timer, &QTimer::timeout, &button, [&button] { click(button); });
        timer.start(5);
        enter("exec('while True: pass')");
        timer.stop();
        EXPECT_THAT(printed(), HasSubstr("KeyboardInterrupt"));
    };
    drives["clearScript"] = [&](QWidget& button) {
        enter("6 * 7");
        click(button);
        EXPECT_EQ(printed(), "");
    };
    driveAll("scriptDock", drives);
}
