// SPDX-License-Identifier: LGPL-2.1-or-later
// The picture that --preview draws.
#include "ktBakeProcess.h"
#include "ktBoxScene.h"

#include <gtest/gtest.h>
#include <QImage>

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
