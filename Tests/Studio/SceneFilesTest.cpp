// SPDX-License-Identifier: LGPL-2.1-or-later
// Several files in one scene, saving in the background, pictures and statistics.
#include "ktAmbientOcclusion.h"
#include "ktBakedLight.h"
#include "ktBoxScene.h"
#include "ktNodeUtils.h"
#include "ktPreferences.h"
#include "ktSceneState.h"
#include "ktSceneView.h"
#include "ktStudioFixture.h"
#include "ktUndoStack.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <QAction>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QImage>
#include <QLineEdit>
#include <QtTest>
#include <set>

namespace {

const char* const texturedBox = KT_MODELS "/glTF2/BoxTextured-glTF-Binary/BoxTextured.glb";

class StudioSceneFiles : public ktStudioFixture {
protected:
    std::string writeBox(const std::string& name, float x) {
        return folder.write(name, makeBoxes({{name.substr(0, name.find('.')), {x, 0, 0}}}).dump());
    }

    static void useFastSettings() {
        ktAmbientOcclusion::the()->setShadowQuality(0);
        ktAmbientOcclusion::the()->setIndirectIlluminationEnabled(false);
    }

    /// w of the vertices of the geometry below the first node of that name.
    static std::vector<float> lightOf(const std::string& name) {
        std::vector<osg::NodePtr> pending = ktSceneState::findNodes(name);
        std::vector<float> values;
        while (!pending.empty()) {
            const osg::NodePtr node = pending.back();
            pending.pop_back();
            const ktBakedChannels channels = ktFindBakedChannels(osg::GeometryPtr::dcast(node->getCore()));
            for (osg::UInt32 i = 0; channels.results && i < channels.count; ++i)
                values.push_back(channels.results[i][3]);
            for (osg::UInt32 i = 0; i < node->getNChildren(); ++i)
                pending.push_back(node->getChild(i));
        }
        return values;
    }

    /// Answers the dialog of a picture, then the dialog of its file.
    void savePictures(const char* name, const std::string& file, const std::function<void(QWidget&)>& answer) {
        whenDialogShows([=](QWidget& dialog) {
            answer(dialog);
            whenDialogShows([=](QWidget& files) {
                auto* const line = files.findChild<QLineEdit*>("fileNameEdit");
                ASSERT_TRUE(line);
                line->setText(QString::fromStdString(file));
                QTest::keyClick(line, Qt::Key_Return);
            });
            QTest::keyClick(&dialog, Qt::Key_Return);
        });
        trigger(name);
        EXPECT_TRUE(waitFor([&] { return message().contains("aved"); })) << message().toStdString();
    }

    static void type(QWidget& widget, const QString& text) {
        widget.setFocus();
        QTest::keyClick(&widget, Qt::Key_A, Qt::ControlModifier);
        QTest::keyClicks(&widget, text);
    }

    static std::size_t colorCount(const QImage& picture) {
        std::set<QRgb> colors;
        for (int y = 0; y < picture.height(); ++y)
            for (int x = 0; x < picture.width(); ++x)
                colors.insert(picture.pixel(x, y) & 0xf0f0f0);
        return colors.size();
    }
};

} // namespace

TEST_F(StudioSceneFiles, GivenTexturedFile_ShowsThePicturesBeforeItIsBaked) {
    open(texturedBox);
    auto* const view = window->findChild<ktSceneView*>();
    view->resetBackground();
    view->setBackground(Qt::black, Qt::black);
    view->setViewMode(ktViewMode::SurfaceColours);
    EXPECT_GT(colorCount(view->renderPicture({200, 200})), 20u) << "one colour a face without the picture";
}

TEST_F(StudioSceneFiles, GivenAddedFile_CastsShadowsUntilItIsUndone) {
    useFastSettings();
    open(writeBoxes("both.gltf"));
    window->getSelection().selectByText("left");
    trigger("start");
    const std::vector<float> together = lightOf("left");
    ASSERT_FALSE(together.empty());

    trigger("undo");
    open(writeBox("left.gltf", 0));
    trigger("start");
    const std::vector<float> alone = lightOf("left");
    EXPECT_NE(alone, together);
    EXPECT_EQ(window->getDocument().addFiles({QString::fromStdString(writeBox("right.gltf", 1.2f))}), 1);
    EXPECT_THAT(window->windowTitle().toStdString(), testing::HasSubstr("left.gltf + right.gltf"));
    EXPECT_EQ(window->getSelection().get().size(), 1u) << "the selection stays";
    EXPECT_EQ(window->getDocument().getTopNodes().size(), 2u);
    trigger("start");
    EXPECT_EQ(lightOf("left"), together);
    EXPECT_TRUE(lightOf("right").empty());

    trigger("undo");
    EXPECT_EQ(lightOf("left"), alone);
    trigger("undo");
    EXPECT_EQ(window->getDocument().getTopNodes().size(), 1u);
    EXPECT_TRUE(ktSceneState::findNodes("right").empty());
    trigger("redo");
    trigger("redo");
    EXPECT_EQ(lightOf("left"), together);
}

TEST_F(StudioSceneFiles, GivenBakedAddedFile_SavesItBesideTheFirst) {
    useFastSettings();
    open(writeBox("left.gltf", 0));
    window->getDocument().addFiles({QString::fromStdString(writeBox("right.gltf", 1.2f))});
    const std::string saved = folder.file("left-baked.glb"), other = folder.file("right-baked.glb");
    trigger("start");
    EXPECT_TRUE(window->getDocument().saveAs(QString::fromStdString(saved)));
    EXPECT_FALSE(QFileInfo::exists(QString::fromStdString(other))) << "nothing of it was baked";
    EXPECT_FALSE(window->isWindowModified());

    folder.write("right-baked.glb", "of somebody else");
    trigger("selectAll");
    trigger("start");
    EXPECT_TRUE(window->getDocument().save());
    EXPECT_EQ(readFile(other), "of somebody else");
    EXPECT_FALSE(readFile(folder.file("right-baked-2.glb")).empty());
    EXPECT_FALSE(window->isWindowModified());
    window->getDocument().reload(window->getDocument().getReadOptions());
    EXPECT_EQ(window->getDocument().getAddedPaths().size(), 1);
    EXPECT_EQ(ktUndoStack::get(0)->count(), 0);
}

TEST_F(StudioSceneFiles, GivenEndWithUnsavedAddedFiles_TheirResultsAreInTheCopyForARecovery) {
    useFastSettings();
    open(writeBox("left.gltf", 0));
    const std::string right = writeBox("right.gltf", 1.2f), bare = writeBox("bare.gltf", 3);
    window->getDocument().addFiles({QString::fromStdString(right), QString::fromStdString(bare)});
    window->getSelection().set({ktSceneState::findNodes("left").front(), ktSceneState::findNodes("right").front()});
    trigger("start");
    const std::vector<float> leftLight = lightOf("left"), rightLight = lightOf("right");
    ASSERT_FALSE(rightLight.empty());
    // As a process leaves it that was killed: a folder without a lock.
    const std::filesystem::path all = (ktPreferences::getPreferencesDir() + "recovery").toStdString();
    const std::filesystem::path mine = std::filesystem::directory_iterator(all)->path();
    std::filesystem::copy(mine, all / "other");
    std::filesystem::remove(all / "other" / "lock");
    window = std::make_unique<ktStudioWindow>();
    window->show();
    window->begin();
    pressInMessage("Open the copy");
    EXPECT_THAT(window->windowTitle().toStdString(), testing::HasSubstr("left.gltf + right.gltf + bare.gltf"));
    EXPECT_EQ(lightOf("left"), leftLight);
    EXPECT_EQ(lightOf("right"), rightLight);
    EXPECT_TRUE(lightOf("bare").empty());
    EXPECT_EQ(ktUndoStack::get(0)->count(), 0);
    EXPECT_TRUE(window->isWindowModified());
    EXPECT_TRUE(window->getDocument().saveAs(QString::fromStdString(folder.file("left-baked.glb"))));
    EXPECT_TRUE(QFileInfo::exists(QString::fromStdString(folder.file("right-baked.glb"))));
    EXPECT_FALSE(QFileInfo::exists(QString::fromStdString(folder.file("bare-baked.glb")))) << "nothing of it was baked";
    EXPECT_FALSE(window->isWindowModified());
}

TEST_F(StudioSceneFiles, GivenDropWithShift_AddsTheFile) {
    open(writeBox("left.gltf", 0));
    drop({writeBox("right.gltf", 1.2f)}, Qt::ShiftModifier);
    EXPECT_TRUE(waitFor([&] { return window->getDocument().getAddedPaths().size() == 1; }));
    EXPECT_THAT(window->getDocument().getPath().toStdString(), testing::EndsWith("left.gltf"));
}

TEST_F(StudioSceneFiles, GivenBrokenFileToAdd_NamesItAndAddsTheOthers) {
    open(writeBox("left.gltf", 0));
    const QString broken = QString::fromStdString(folder.write("broken.glb", "glTF but no more"));
    EXPECT_EQ(window->getDocument().addFiles({broken, QString::fromStdString(writeBox("right.gltf", 1.2f))}), 1);
    EXPECT_THAT(message().toStdString(), testing::HasSubstr("broken.glb"));
}

TEST_F(StudioSceneFiles, GivenSaving_HandlesEventsAndACancelKeepsTheOldFile) {
    open(writeBoxes());
    const QString file = QString::fromStdString(folder.write("out.glb", "old"));
    int rounds = 0;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&] { rounds += window->getDocument().isReading(); });
    timer.start(0);
    const auto cancelling = QObject::connect(&window->getDocument(), &ktStudioDocument::workChanged,
                                             [&] { window->getDocument().cancelReading(); });
    EXPECT_FALSE(window->getDocument().saveAs(file));
    EXPECT_THAT(message().toStdString(), testing::HasSubstr("out.glb was not saved: cancelled"));
    EXPECT_EQ(readFile(file.toStdString()), "old");
    QObject::disconnect(cancelling);
    EXPECT_TRUE(window->getDocument().saveAs(file));
    EXPECT_GT(rounds, 0);
    EXPECT_TRUE(action("start").isEnabled());
}

TEST_F(StudioSceneFiles, GivenTurntable_WritesNumberedPicturesOfTheSize) {
    open(writeBoxes());
    savePictures("saveTurntable", folder.file("turn.png"), [](QWidget& dialog) {
        type(*dialog.findChild<QWidget*>("width"), "60");
        type(*dialog.findChild<QWidget*>("height"), "40");
        type(*dialog.findChild<QWidget*>("count"), "3");
    });
    std::vector<QImage> pictures;
    for (const char* name : {"turn-0001.png", "turn-0002.png", "turn-0003.png"})
        pictures.emplace_back(QString::fromStdString(folder.file(name)));
    for (const QImage& picture : pictures)
        EXPECT_EQ(picture.size(), QSize(60, 40));
    EXPECT_FALSE(pictures[0] == pictures[1]);
    EXPECT_FALSE(QFileInfo::exists(QString::fromStdString(folder.file("turn-0004.png"))));
}

TEST_F(StudioSceneFiles, GivenPreviewOptions_DrawsThePictureOfKtbake) {
    const std::string scene = writeBoxes();
    open(scene);
    useFastSettings();
    trigger("start");
    savePictures("savePreview", folder.file("window.png"), [](QWidget& dialog) {
        type(*dialog.findChild<QWidget*>("width"), "64");
        type(*dialog.findChild<QWidget*>("height"), "48");
        dialog.findChild<QComboBox*>("view")->setFocus();
        QTest::keyClicks(dialog.findChild<QComboBox*>("view"), "left");
        QTest::keyClick(dialog.findChild<QWidget*>("headlight"), Qt::Key_Space);
    });
    bakedByKtbake(scene, {"--shadow-quality", "0", "--no-indirect", "--preview", "ktbake.png", "--preview-size",
                          "64x48", "--preview-view", "left", "--preview-headlight"});
    EXPECT_TRUE(readFile(folder.file("window.png")) == readFile(folder.file("ktbake.png")));
}

TEST_F(StudioSceneFiles, GivenBake_SavesItsStatistics) {
    open(writeBoxes());
    useFastSettings();
    trigger("start");
    savedBytes();
    whenDialogShows([this](QWidget& files) {
        files.findChild<QLineEdit*>("fileNameEdit")->setText(QString::fromStdString(folder.file("stats.json")));
        QTest::keyClick(files.findChild<QLineEdit*>("fileNameEdit"), Qt::Key_Return);
    });
    trigger("saveStatistics");
    EXPECT_TRUE(waitFor([&] { return message().contains("stats.json"); }));
    const auto written = nlohmann::json::parse(readFile(folder.file("stats.json")));
    bakedByKtbake(folder.file("boxes.gltf"), {"--shadow-quality", "0", "--no-indirect", "--stats", "ktbake.json"});
    const auto expected = nlohmann::json::parse(readFile(folder.file("ktbake.json")));
    std::set<std::string> keys, expectedKeys;
    for (const auto& item : written.items())
        keys.insert(item.key());
    for (const auto& item : expected.items())
        expectedKeys.insert(item.key());
    EXPECT_EQ(keys, expectedKeys);
    EXPECT_EQ(written["settings"], expected["settings"]);
}

TEST_F(StudioSceneFiles, GivenTriangleLimit_RefinesAsKtbakeWithIt) {
    const std::string scene = writeBoxes();
    open(scene);
    useFastSettings();
    auto* const limit = window->findChild<QLineEdit*>("maxTriangles");
    type(*limit, "many");
    QTest::keyClick(limit, Qt::Key_Return);
    EXPECT_EQ(limit->text(), "") << "no limit";
    type(*limit, "3x");
    QTest::keyClick(limit, Qt::Key_Return);
    EXPECT_EQ(window->getDocument().getOptions().maxTriangles, "3x");
    trigger("undo");
    EXPECT_EQ(window->getDocument().getOptions().maxTriangles, "");
    trigger("redo");
    ktAmbientOcclusion::the()->setSubdivideEnabled(true);
    ktAmbientOcclusion::the()->setMinEdgeLength(100);
    trigger("start");
    EXPECT_TRUE(savedBytes() == bakedByKtbake(scene, {"--shadow-quality", "0", "--no-indirect", "--subdivide",
                                                      "--min-edge-length", "100", "--max-triangles", "3x"}));
}

TEST_F(StudioSceneFiles, GivenCreaseAngleAndKeptVertices_BakesTheBytesOfKtbake) {
    const std::string scene = folder.write("roof.obj", "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nv 0 0 1\nv 1 0 1\n"
                                                       "f 1 2 3 4\nf 2 1 5 6\n");
    ktStudioReadOptions options;
    options.unit = "m";
    options.creaseAngle_deg = 120;
    options.keepVertices = true;
    useFastSettings();
    window->openFile(QString::fromStdString(scene), options);
    trigger("start");
    EXPECT_TRUE(savedBytes() == bakedByKtbake(scene, {"--shadow-quality", "0", "--no-indirect", "--unit", "m",
                                                      "--crease-angle", "120", "--keep-vertices"}));
}
