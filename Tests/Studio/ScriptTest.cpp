// SPDX-License-Identifier: LGPL-2.1-or-later
// The console: Python that shares scene, settings and undo with the window.
#include "ktAmbientOcclusion.h"
#include "ktStudioFixture.h"
#include "ktUndoStack.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <QAction>
#include <QDockWidget>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QtTest>

namespace {

class StudioScripts : public ktStudioFixture {
protected:
    QPlainTextEdit& input() { return *window->findChild<QPlainTextEdit*>("scriptInput"); }

    /// Types lines and Enter after each; returns what they printed, without the echo.
    std::string type(std::initializer_list<const char*> lines) {
        auto& output = *window->findChild<QPlainTextEdit*>("scriptOutput");
        output.clear();
        for (const char* line : lines) {
            QTest::keyClicks(&input(), line);
            QTest::keyClick(&input(), Qt::Key_Return);
        }
        QStringList printed;
        for (const QString& line : output.toPlainText().split('\n'))
            if (!line.startsWith(">>>") && !line.startsWith("..."))
                printed << line;
        return printed.join('\n').trimmed().toStdString();
    }

    void SetUp() override { window->findChild<QDockWidget*>("scriptDock")->raise(); }
};

} // namespace

TEST_F(StudioScripts, GivenStatements_PrintsValuesAndErrors) {
    EXPECT_EQ(type({"6 * 7"}), "42");
    EXPECT_EQ(type({"print('hello')"}), "hello");
    EXPECT_EQ(type({"for i in range(3):", "print(i)", ""}), "0\n1\n2");
    EXPECT_THAT(type({"1 / 0"}), testing::HasSubstr("ZeroDivisionError"));
    EXPECT_THAT(type({"if True print"}), testing::HasSubstr("SyntaxError"));
    EXPECT_THAT(type({"raise SystemExit(3)"}), testing::HasSubstr("SystemExit: 3"));
    QTest::keyClick(&input(), Qt::Key_Up);
    EXPECT_EQ(input().toPlainText(), "raise SystemExit(3)");
    QTest::keyClick(&input(), Qt::Key_Down);
    EXPECT_EQ(input().toPlainText(), "");
    QTest::keyClicks(&input(), "kthost.undo_is_not");
    QTest::keyClick(&input(), Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(input().toPlainText(), "");
    QTest::keyClicks(&input(), "kthost.apply_p");
    QTest::keyClick(&input(), Qt::Key_Tab);
    EXPECT_EQ(input().toPlainText(), "kthost.apply_preset");
}

TEST_F(StudioScripts, GivenBakeInTheConsole_HasTheBytesAndTheUndoOfTheWindow) {
    const std::string scene = writeBoxes();
    open(scene);
    const std::string before = savedBytes();
    EXPECT_EQ(type({"x = kthost.select('left')", "[n.name for n in kthost.selection()]"}), "['left']");
    EXPECT_EQ(window->getSelection().get().size(), 1u);
    EXPECT_EQ(type({"x = kthost.select()", "kthost.settings.quality = 0"}), "");
    EXPECT_EQ(ktAmbientOcclusion::the()->getShadowQuality(), 0);
    EXPECT_EQ(type({"kthost.settings.colorBleeding = True", "kthost.bake()"}), "True");
    EXPECT_TRUE(window->isWindowModified());
    EXPECT_TRUE(savedBytes() == bakedByKtbake(scene, {"--shadow-quality", "0", "--color-bleeding"}));
    EXPECT_EQ(type({"kthost.undo()"}), "True");
    EXPECT_TRUE(savedBytes() == before);
    trigger("redo");
    EXPECT_THAT(type({("kthost.open('" + scene + "')").c_str()}), testing::HasSubstr("unsaved changes"));
}

TEST_F(StudioScripts, GivenScriptThatOpensAndSaves_UsesTheWindow) {
    const std::string scene = writeBoxes(), saved = folder.file("saved.glb");
    EXPECT_THAT(type({"kthost.save('x.glb')"}), testing::HasSubstr("no scene is open"));
    EXPECT_EQ(type({("kthost.open('" + scene + "', unit='cm')").c_str()}), "");
    EXPECT_EQ(window->getDocument().getPath().toStdString(), scene);
    EXPECT_EQ(window->getDocument().getUnit_mm(), 10);
    EXPECT_EQ(type({("kthost.save('" + saved + "', shade='none')").c_str()}), "");
    EXPECT_FALSE(readFile(saved).empty());
    EXPECT_TRUE(window->getDocument().getOptions().multiplyColors) << "the window's options stay";
    EXPECT_THAT(type({"kthost.open('missing.glb')"}), testing::HasSubstr("missing.glb"));
    EXPECT_THAT(type({"kthost.close()"}), testing::HasSubstr("belongs to the window"));
}

TEST_F(StudioScripts, GivenFileOfTheWindow_StatisticsAreThoseOfKtbake) {
    using nlohmann::json;
    const auto stats = [this] { return json::parse(type({"import json; print(json.dumps(kthost.stats()))"})); };
    EXPECT_THAT(type({"kthost.stats()"}), testing::HasSubstr("no scene is open"));
    const std::string scene = writeBoxes(), saved = folder.file("ours.glb"), picture = folder.file("ours.png");
    open(scene);
    EXPECT_EQ(stats()["scene"], scene);
    EXPECT_EQ(stats()["verticesTraced"], 0);
    ktAmbientOcclusion::the()->setShadowQuality(0);
    ktAmbientOcclusion::the()->setIndirectIlluminationEnabled(false);
    trigger("start");
    EXPECT_TRUE(window->getDocument().saveAs(QString::fromStdString(saved)));
    EXPECT_EQ(type({("kthost.preview('" + picture + "', 64, 48)").c_str()}), "");
    json ours = stats();
    for (const char* name : {"read", "tracing", "write", "preview", "total"})
        EXPECT_GT(ours["seconds"][name], 0) << name;
    EXPECT_EQ(ours["output"], saved);
    bakedByKtbake(scene, {"--shadow-quality", "0", "--no-indirect", "--stats", "ktbake.json"});
    json theirs = json::parse(readFile(folder.file("ktbake.json")));
    for (json* one : {&ours, &theirs})
        for (const char* name : {"scene", "output", "seconds", "warnings", "peakMemoryMiB"})
            EXPECT_EQ(one->erase(name), 1u) << name;
    EXPECT_EQ(ours, theirs);
    open(writeBoxes("other.gltf"));
    EXPECT_EQ(stats()["scene"], folder.file("other.gltf"));
    EXPECT_EQ(stats()["verticesTraced"], 0);
}

TEST_F(StudioScripts, GivenEndlessLoop_TheWindowLivesAndCancelEndsIt) {
    open(writeBoxes());
    int rounds = 0;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&] {
        EXPECT_FALSE(action("start").isEnabled());
        if (++rounds == 3)
            QTest::mouseClick(window->findChild<QPushButton*>("cancelScript"), Qt::LeftButton);
        if (rounds == 100)
            window->getServices().scripts.cancel(); // so that a failure ends
    });
    timer.start(5);
    EXPECT_THAT(type({"while True: pass", ""}), testing::HasSubstr("KeyboardInterrupt"));
    timer.stop();
    EXPECT_THAT(rounds, testing::AllOf(testing::Ge(3), testing::Lt(100)));
    EXPECT_TRUE(action("start").isEnabled());
    EXPECT_EQ(type({"1 + 1"}), "2");
}
