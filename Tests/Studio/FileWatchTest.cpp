// SPDX-License-Identifier: LGPL-2.1-or-later
// Files of the scene that other programs change while it is open.
#include "ktAmbientOcclusion.h"
#include "ktBoxScene.h"
#include "ktStudioFixture.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <QByteArray>
#include <QFileInfo>
#include <QImage>

using testing::ElementsAre;

namespace {

class StudioFileWatch : public ktStudioFixture {
protected:
    std::vector<std::string> changed; ///< names of files, as they were told

    StudioFileWatch() {
        plugin().setShadowQuality(0);
        plugin().setIndirectIlluminationEnabled(false);
        QObject::connect(&window->getDocument(), &ktStudioDocument::changedOnDisk, window.get(),
                         [this](const QString& path) { changed.push_back(QFileInfo(path).fileName().toStdString()); });
    }

    void writePicture(const std::string& name, const QColor& color, int size) {
        QImage picture(size, size, QImage::Format_RGB888);
        picture.fill(color);
        ASSERT_TRUE(picture.save(QString::fromStdString(folder.file(name))));
    }

    /// A box whose buffer and picture are files beside it.
    std::string writeBoxOfThreeFiles() {
        nlohmann::json scene = makeBoxes({{"box", {0, 0, 0}}});
        const std::string uri = scene["buffers"][0]["uri"];
        const QByteArray data = QByteArray::fromBase64(QByteArray::fromStdString(uri.substr(uri.find(',') + 1)));
        folder.write("box.bin", data.toStdString());
        scene["buffers"][0]["uri"] = "box.bin";
        scene["images"] = {{{"uri", "paint.png"}}};
        scene["textures"] = {{{"source", 0}}};
        scene["materials"] = {{{"pbrMetallicRoughness", {{"baseColorTexture", {{"index", 0}}}}}}};
        scene["meshes"][0]["primitives"][0]["material"] = 0;
        return folder.write("box.gltf", scene.dump());
    }

    void expectOffer(const std::string& name) {
        EXPECT_TRUE(waitFor([&] { return !changed.empty(); })) << name;
        EXPECT_THAT(changed, ElementsAre(name));
        EXPECT_EQ(message().toStdString(), name + " has changed on disk.");
        changed.clear();
    }
};

} // namespace

TEST_F(StudioFileWatch, GivenFilesThatTheSceneRefersTo_OffersToReadTheSceneAgain) {
    writePicture("paint.png", Qt::red, 4);
    open(writeBoxOfThreeFiles());
    writePicture("paint.png", Qt::blue, 8);
    expectOffer("paint.png");
    pressInMessage("Read again");
    std::string data = readFile(folder.file("box.bin"));
    folder.write("box.bin", data + "and more");
    expectOffer("box.bin");
    pressInMessage("Read again");
    // As programs do that keep the old file until the new one is whole.
    folder.write("new.bin", data);
    std::filesystem::rename(folder.file("new.bin"), folder.file("box.bin"));
    expectOffer("box.bin");
    // Nobody reads it again, and the new file changes: the watch of the old file tells nothing of it.
    folder.write("box.bin", data + "and more");
    expectOffer("box.bin");
}

TEST_F(StudioFileWatch, GivenMissingPicture_OffersToReadTheSceneWhenItIsThere) {
    open(writeBoxOfThreeFiles());
    writePicture("paint.png", Qt::red, 4);
    expectOffer("paint.png");
}

TEST_F(StudioFileWatch, GivenImportedFile_WatchesItsMaterials) {
    const std::string scene =
        folder.write("roof.obj", "mtllib roof.mtl\nusemtl red\nv 0 0 0\nv 1 0 0\nv 1 1 0\nf 1 2 3\n");
    folder.write("roof.mtl", "newmtl red\nKd 1 0 0\n");
    open(scene);
    folder.write("roof.mtl", "newmtl red\nKd 0.5 0 0\n");
    expectOffer("roof.mtl");
}

TEST_F(StudioFileWatch, GivenAddedFile_OffersToReadAllAgain) {
    const std::string first = writeBoxes("first.gltf"), second = writeBoxes("second.gltf");
    open(first);
    ASSERT_EQ(window->getDocument().addFiles({QString::fromStdString(second)}), 1);
    EXPECT_EQ(window->getDocument().getTopNodes().size(), 4u);
    folder.write("second.gltf", makeBoxes({{"other", {3, 0, 0}}}).dump());
    expectOffer("second.gltf");
    savedBytes(); // so that nothing asks
    pressInMessage("Read again");
    EXPECT_EQ(window->getDocument().getTopNodes().size(), 3u);
    folder.write("second.gltf", makeBoxes({{"other", {4, 0, 0}}}).dump() + "\n");
    expectOffer("second.gltf");
}

TEST_F(StudioFileWatch, GivenFileWhoseAddingIsUndone_DoesNotWatchIt) {
    const std::string first = writeBoxes("first.gltf"), second = writeBoxes("second.gltf");
    open(first);
    window->getDocument().addFiles({QString::fromStdString(second)});
    trigger("undo");
    folder.write("second.gltf", readFile(second) + "\n");
    folder.write("first.gltf", readFile(first) + "\n");
    expectOffer("first.gltf");
}

TEST_F(StudioFileWatch, GivenOwnSavingOverTheOpenedFile_OffersNothing) {
    writePicture("paint.png", Qt::red, 4);
    const std::string scene = writeBoxOfThreeFiles();
    open(scene);
    trigger("start");
    const std::string before = readFile(scene);
    ASSERT_TRUE(window->getDocument().saveAs(QString::fromStdString(scene)));
    EXPECT_NE(readFile(scene), before);
    writePicture("paint.png", Qt::blue, 8);
    expectOffer("paint.png");
}
