// SPDX-License-Identifier: LGPL-2.1-or-later
// The ways to open files: several dropped ones, recent ones, those that an empty window offers, the command line.
#include "ktBoxScene.h"
#include "ktDrivenControls.h"
#include "ktMessageBar.h"
#include "ktStudioPreferences.h"

#include <algorithm>
#include <cmath>
#include <gmock/gmock.h>
#include <QAction>
#include <QLabel>
#include <QMenu>
#include <QProcess>
#include <QPushButton>
#include <QtTest>

using testing::ElementsAre;
using testing::HasSubstr;

namespace {

class StudioOpening : public ktDrivenControls {
protected:
    std::string writeBox(const std::string& name) { return folder.write(name, makeBoxes({{"box", {0, 0, 0}}}).dump()); }

    ktStudioDocument& document() { return window->getDocument(); }
    static QStringList recentFiles() { return ktStudioPreferences::the().getRecentFiles(); }

    std::vector<std::string> messages() {
        std::vector<std::string> texts;
        for (const QLabel* label : window->getMessages().findChildren<QLabel*>("messageText"))
            texts.push_back(label->text().toStdString());
        return texts;
    }
    std::vector<QPushButton*> answers() {
        std::vector<QPushButton*> buttons;
        for (QPushButton* button : window->getMessages().findChildren<QPushButton*>())
            if (button->isVisible())
                buttons.push_back(button);
        return buttons;
    }
};

} // namespace

TEST_F(StudioOpening, GivenSeveralDroppedFiles_OpensTheFirstThatCanBeReadAndAddsTheRest) {
    const std::string left = writeBox("left.gltf"), right = writeBox("right.gltf");
    drop({folder.write("first.glb", "glTF but no more"), left, folder.write("third.obj", "v 0 0"), right});
    EXPECT_TRUE(waitFor([this] { return document().getAddedPaths().size() == 1; }));
    EXPECT_EQ(document().getPath().toStdString(), left);
    EXPECT_EQ(document().getAddedPaths().first().toStdString(), right);
    EXPECT_THAT(messages(), testing::IsSupersetOf({HasSubstr("first.glb"), HasSubstr("third.obj")}));
}

TEST_F(StudioOpening, GivenMenuOfRecentFiles_OpensOneAndClearsThem) {
    const std::string first = writeBox("this & that.gltf"), second = writeBox("second.gltf");
    for (const std::string& scene : {first, second}) {
        open(scene);
        EXPECT_TRUE(waitFor([&] { return recentFiles().value(0).toStdString() == scene; }));
    }
    const auto choose = [this](const QString& entry) {
        auto& menu = find<QMenu>("recentFiles");
        chooseInMenu([&] { menu.popup(window->mapToGlobal(QPoint(20, 20))); }, entry);
    };
    choose(QString::fromStdString(first).replace("&", "&&")); // one & marks a key
    EXPECT_TRUE(waitFor([&] { return document().getPath().toStdString() == first; }));
    EXPECT_TRUE(waitFor([&] { return recentFiles().value(0).toStdString() == first; }));
    choose("Clear this list");
    EXPECT_TRUE(recentFiles().isEmpty());
}

TEST_F(StudioOpening, GivenEmptyWindow_EachOfItsButtonsOpensAScene) {
    qputenv("XDG_CACHE_HOME", QByteArray::fromStdString(folder.file("cache"))); // where examples are made
    ktStudioPreferences::the().addRecentFile(QString::fromStdString(writeBox("earlier.gltf")));
    const std::pair<const char*, const char*> buttons[] = {{"openEngine", "2CylinderEngine.glb"},
                                                           {"openRoom", "room.glb"},
                                                           {"openCar", "car.glb"},
                                                           {"recent", "earlier.gltf"}};
    for (const auto& [name, file] : buttons) {
        SCOPED_TRACE(name);
        window = std::make_unique<ktStudioWindow>();
        window->show();
        click(find<QPushButton>(name));
        EXPECT_TRUE(waitFor([this] { return document().isOpen(); })) << message().toStdString();
        EXPECT_THAT(document().getPath().toStdString(), testing::EndsWith(file));
    }
    window = std::make_unique<ktStudioWindow>();
    window->show();
    answerWithFile(writeBox("chosen.gltf"));
    click(find<QPushButton>("openScene"));
    EXPECT_TRUE(waitFor([this] { return document().isOpen(); }));
}

TEST_F(StudioOpening, GivenFileWithoutUnit_EachOfThreeSizesIsTheSceneThen) {
    const std::string scene = folder.write(
        "part.obj", "v 0 0 0\nv 800 0 0\nv 0 300 0\nv 0 0 100\nf 1 2 3\nf 1 3 4\nf 1 4 2\n"); // its diagonal is 860
    std::vector<double> sizes;
    for (std::size_t answer = 0; answer < 3; ++answer) {
        open(scene);
        ASSERT_TRUE(waitFor([this] { return answers().size() == 4; })); // the last is about the up axis
        QPushButton* const button = answers()[answer];
        const double metres = button->text().section(' ', 0, 0).toDouble();
        click(*button);
        EXPECT_NEAR(document().getDiagonal() / 1000, metres, 0.005 * metres);
        sizes.push_back(metres);
    }
    EXPECT_THAT(sizes, ElementsAre(0.86, 8.6, 21.8));
}

TEST_F(StudioOpening, GivenFileWithoutUpAxis_OffersThatZPointsUp) {
    const std::string scene =
        folder.write("part.obj", "v 0 0 0\nv 800 0 0\nv 0 300 0\nv 0 0 100\nf 1 2 3\nf 1 3 4\nf 1 4 2\n");
    open(scene);
    ASSERT_TRUE(waitFor([this] { return answers().size() == 4; }));
    click(*answers()[0]); // a size
    ASSERT_TRUE(waitFor([this] { return answers().size() == 1; })) << "the up axis is not known yet";
    EXPECT_EQ(document().getReadOptions().up, "");
    click(*answers()[0]);
    EXPECT_EQ(document().getReadOptions().up, "z");
    EXPECT_FALSE(document().isUpAxisGuessed());
    EXPECT_TRUE(waitFor([this] { return answers().empty(); }));
    open(scene);
    ASSERT_TRUE(waitFor([this] { return answers().size() == 4; }));
    click(*answers()[3]);
    EXPECT_EQ(document().getReadOptions().up, "z");
    EXPECT_TRUE(waitFor([this] { return answers().size() == 3; })) << "the size is not known yet";
}

TEST_F(StudioOpening, GivenSceneInMetresOfTheGuessedSize_AsksNothing) {
    auto scene = makeBoxes({{"box", {0, 0, 0}}});
    const double scale = std::sqrt(3.0); // the diagonal of the box is as long, in metres
    scene["nodes"][0]["scale"] = {scale, scale, scale};
    open(folder.write("box.gltf", scene.dump()));
    EXPECT_TRUE(waitFor([this] { return document().isOpen(); }));
    EXPECT_NEAR(document().getDiagonal(), 3000, 0.4);
    EXPECT_FALSE(document().isUnitGuessed());
}

TEST_F(StudioOpening, GivenCommandLine_OpensTheFirstFileInItsUnitAndAddsTheOthers) {
    const std::string scene = writeBox("box.gltf"), preferences = folder.file("others/");
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("KT_PREFERENCES_DIR", QString::fromStdString(preferences));
    process.setProcessEnvironment(environment);
    QByteArray output;
    process.start(KT_STUDIO, {"--unit", "cm", QString::fromStdString(scene), "missing.glb"});
    EXPECT_TRUE(waitFor([&] {
        output += process.readAll();
        return output.contains("missing.glb");
    }));
    // A box of 1 unit has the diagonal 1.73 cm.
    EXPECT_THAT(output.toStdString(), HasSubstr("diagonal of the scene is 17.3 mm"));
    EXPECT_EQ(process.state(), QProcess::Running) << "the window stays";
    process.kill();
    EXPECT_TRUE(process.waitForFinished());
}
