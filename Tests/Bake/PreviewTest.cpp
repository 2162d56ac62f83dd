// SPDX-License-Identifier: LGPL-2.1-or-later
// The picture that --preview draws.
#include "ktBakeProcess.h"
#include "ktBoxScene.h"

#include <array>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <QImage>
#include <QRect>
#include <set>

using testing::HasSubstr;

namespace {

/// Draws the boxes of scene.gltf with more options; a box is 1 m wide.
QImage drawScene(const ktTestFolder& folder, std::vector<std::string> options) {
    options.insert(options.begin(), {"scene.gltf", "--shadow-quality", "0", "--no-indirect", "--preview", "p.png"});
    const ktBakeResult result = runBake(folder.path, options);
    EXPECT_EQ(result.exitCode, 0) << result.error;
    return QImage(QString::fromStdString(folder.file("p.png")));
}

/// Width and height of what is not background.
std::array<int, 2> extentOf(const QImage& image) {
    QRect extent;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (qGreen(image.pixel(x, y)) > 200)
                extent |= QRect(x, y, 1, 1);
    return {extent.width(), extent.height()};
}

} // namespace

TEST(Preview, GivenScene_DrawsItInTheMiddleOverTheBackground) {
    const ktTestFolder folder;
    folder.write("box.gltf", makeBoxes({{"box", {0, 0, 0}}}).dump());
    const ktBakeResult result = runBake(folder.path, {"box.gltf", "--shadow-quality", "0", "--preview", "box.png"});
    ASSERT_EQ(result.exitCode, 0) << result.error;
    const QImage image(QString::fromStdString(folder.file("box.png")));
    ASSERT_FALSE(image.isNull());
    EXPECT_GE(image.width(), 640);
    // The box in the open is white; the background is not.
    EXPECT_GT(qGreen(image.pixel(image.width() / 2, image.height() / 2)), 250);
    for (const int x : {0, image.width() - 1})
        for (const int y : {0, image.height() - 1})
            EXPECT_LT(qGreen(image.pixel(x, y)), 220);
}

TEST(Preview, GivenTwoRuns_DrawsTheSame) {
    const ktTestFolder folder;
    folder.write("boxes.gltf", makeBoxes({{"left", {0, 0, 0}}, {"right", {1.01f, 0, 0}}}).dump());
    for (const char* threads : {"1", "2"})
        ASSERT_EQ(runBake(folder.path, {"boxes.gltf", "--shadow-quality", "0", "--threads", threads, "--preview",
                                        std::string(threads) + ".png"})
                      .exitCode,
                  0);
    EXPECT_EQ(QImage(QString::fromStdString(folder.file("1.png"))),
              QImage(QString::fromStdString(folder.file("2.png"))));
}

TEST(Preview, GivenSize_DrawsThatManyPixels) {
    const ktTestFolder folder;
    folder.write("scene.gltf", makeBoxes({{"box", {0, 0, 0}}}).dump());
    EXPECT_EQ(drawScene(folder, {"--preview-size", "64x48"}).size(), QSize(64, 48));
    EXPECT_EQ(drawScene(folder, {"--preview-size=1x200"}).size(), QSize(1, 200));
}

TEST(Preview, GivenSide_ShowsTheSceneFromThere) {
    const ktTestFolder folder;
    // Two boxes side by side along x: 2 m wide, 1 m high and deep.
    folder.write("scene.gltf", makeBoxes({{"left", {-0.5f, 0, 0}}, {"right", {0.5f, 0, 0}}}).dump());
    for (const char* side : {"front", "back", "top", "bottom"}) {
        const auto [width, height] = extentOf(drawScene(folder, {"--preview-size", "300x300", "--preview-view", side}));
        EXPECT_NEAR(width, 2.0 * height, 0.1 * width) << side;
    }
    for (const char* side : {"left", "right"}) {
        const auto [width, height] = extentOf(drawScene(folder, {"--preview-size", "300x300", "--preview-view", side}));
        EXPECT_NEAR(width, height, 2) << side;
        EXPECT_GT(width, 200) << side;
    }
}

TEST(Preview, GivenCamera_ShowsWhatItSees) {
    const ktTestFolder folder;
    nlohmann::json scene = makeBoxes({{"box", {0, 0, 0}}});
    scene["cameras"] = {{{"type", "orthographic"},
                         {"name", "far"},
                         {"orthographic", {{"xmag", 8}, {"ymag", 8}, {"znear", 0.1}, {"zfar", 100}}}},
                        {{"type", "orthographic"},
                         {"name", "near"},
                         {"orthographic", {{"xmag", 1}, {"ymag", 1}, {"znear", 0.1}, {"zfar", 100}}}}};
    for (const int camera : {0, 1}) {
        scene["scenes"][0]["nodes"].push_back(scene["nodes"].size());
        scene["nodes"].push_back({{"camera", camera}, {"translation", {0, 0, 5}}});
    }
    folder.write("scene.gltf", scene.dump());
    using Extent = std::array<int, 2>;
    EXPECT_EQ(extentOf(drawScene(folder, {"--preview-size", "160x160", "--preview-view", "near"})), (Extent{80, 80}));
    EXPECT_EQ(extentOf(drawScene(folder, {"--preview-size", "160x160", "--preview-view", "camera"})), (Extent{10, 10}));
    EXPECT_GT(extentOf(drawScene(folder, {"--preview-size", "160x160"}))[0], 100) << "a side is the default";
}

TEST(Preview, GivenUnknownView_EndsBeforeTheBakeAndNamesTheViews) {
    const ktTestFolder folder;
    folder.write("scene.gltf", makeBoxes({{"box", {0, 0, 0}}}).dump());
    const ktBakeResult result =
        runBake(folder.path, {"scene.gltf", "-o", "out.glb", "--preview", "p.png", "--preview-view", "fromt"});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_THAT(result.error, HasSubstr("scene.gltf: --preview-view: there is no view \"fromt\""));
    EXPECT_THAT(result.error, HasSubstr("did you mean front?"));
    EXPECT_EQ(readFile(folder.file("out.glb")), "");
    EXPECT_EQ(runBake(folder.path, {"scene.gltf", "--preview", "p.png", "--preview-view", "camera"}).exitCode, 3);
}

TEST(Preview, GivenHeadlight_ShadesConvexParts) {
    const ktTestFolder folder;
    folder.write("scene.gltf", makeBoxes({{"box", {0, 0, 0}}}).dump());
    const auto countShades = [](const QImage& image) {
        std::set<int> shades;
        for (const int x : {130, 170}) // the left and the right face
            shades.insert(qGreen(image.pixel(x, 170)));
        return shades.size();
    };
    EXPECT_EQ(countShades(drawScene(folder, {"--preview-size", "300x300"})), 1u);
    EXPECT_EQ(countShades(drawScene(folder, {"--preview-size", "300x300", "--preview-headlight"})), 2u);
}

TEST(Preview, GivenNoTerminal_PrintsItsProgressInLines) {
    const ktTestFolder folder;
    folder.write("scene.gltf", makeBoxes({{"box", {0, 0, 0}}}).dump());
    const ktBakeResult result =
        runBake(folder.path, {"scene.gltf", "--shadow-quality", "0", "--no-indirect", "--preview", "p.png"});
    EXPECT_THAT(result.error, HasSubstr("\n100 %  of the preview drawn in 0:0"));
    const ktBakeResult json =
        runBake(folder.path, {"scene.gltf", "--shadow-quality", "0", "--no-indirect", "--json", "--preview", "p.png"});
    EXPECT_THAT(json.error, HasSubstr(R"("percent":100,"phase":"preview",)"));
}
