// SPDX-License-Identifier: LGPL-2.1-or-later
// The example scenes, made by their script and baked as in the documents, but with fewer rays.
#include "ktBakedFile.h"
#include "ktBakeProcess.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <QImage>
#include <QProcess>

namespace {

class ExampleScenes : public testing::Test {
protected:
    ktTestFolder folder;

    ExampleScenes() {
        QProcess script;
        script.start(KT_PYTHON_PROGRAM, {KT_EXAMPLES "/scenes.py", QString::fromStdString(folder.file("scenes"))});
        EXPECT_TRUE(script.waitForFinished(300000)) << script.errorString().toStdString();
        EXPECT_EQ(script.exitCode(), 0) << script.readAllStandardError().toStdString();
    }

    ktBakedFile bake(const std::string& scene, std::vector<std::string> options) {
        options.insert(options.begin(), {"scenes/" + scene, "-o", "out.glb", "--shadow-quality", "0",
                                         "--gather-quality", "0", "--preview", "out.png"});
        const ktBakeResult result = runBake(folder.path, options);
        EXPECT_EQ(result.exitCode, 0) << result.error;
        return ktBakedFile(folder.file("out.glb"));
    }
    /// Share of the picture's pixels for which `holds`.
    template <class Holds>
    double share(const Holds& holds) const {
        const QImage image(QString::fromStdString(folder.file("out.png")));
        int count = 0;
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                count += holds(image.pixel(x, y));
        return double(count) / (image.width() * image.height());
    }
    static nlohmann::json primitiveNamed(const ktBakedFile& file, const std::string& name) {
        for (const auto& mesh : file.json.at("meshes"))
            if (mesh.at("name") == name)
                return mesh.at("primitives").at(0);
        ADD_FAILURE() << name;
        return {};
    }
};

} // namespace

TEST_F(ExampleScenes, GivenRoom_TintsTheFloorNextToItsWalls) {
    const ktBakedFile file =
        bake("room.glb", {"--mode", "light-and-shadows", "--bounces", "2", "--color-bleeding", "--no-override-color"});
    const auto floor = primitiveNamed(file, "floor");
    const std::vector<float> positions = file.floats(floor, "POSITION"), light = file.floats(floor, "_INDIRECT");
    // Bounced light, red divided by green: at the red wall (x = -2), at the green wall (z = -2), far from both.
    double red[3] = {0, 0, 0}, green[3] = {0, 0, 0};
    for (size_t vertex = 0; 3 * vertex < positions.size(); ++vertex) {
        const float x = positions[3 * vertex], z = positions[3 * vertex + 2];
        const int place = x < -1.8f && z > 0 ? 0 : z < -1.8f && x > 0 ? 1 : x > 1 && z > 1 ? 2 : -1;
        if (place >= 0) {
            red[place] += light[3 * vertex];
            green[place] += light[3 * vertex + 1];
        }
    }
    const double far = red[2] / green[2];
    EXPECT_GT(red[0] / green[0], 1.3 * far);
    EXPECT_LT(red[1] / green[1], far / 1.3);
    EXPECT_GT(share([](QRgb p) { return qRed(p) > 2 * qGreen(p); }), 0.05);
    EXPECT_GT(share([](QRgb p) { return qGreen(p) > 1.5 * qRed(p); }), 0.05);
}

TEST_F(ExampleScenes, GivenCar_CastsASoftShadow) {
    const ktBakedFile file = bake("car.glb", {"--ground-plane", "--no-indirect"});
    const auto plane = primitiveNamed(file, "ground plane");
    const std::vector<float> open = file.floats(plane, "_AO");
    ASSERT_FALSE(open.empty());
    EXPECT_LT(*std::min_element(open.begin(), open.end()), 0.3f) << "it is dark under the car";
    EXPECT_GT(*std::max_element(open.begin(), open.end()), 0.97f) << "it is bright at the rim";
    EXPECT_GT(std::count_if(open.begin(), open.end(), [](float w) { return w > 0.4f && w < 0.9f; }), 3)
        << "the shadow is soft";
    // Paint in the open has the colour of its material.
    EXPECT_GT(share([](QRgb p) { return qRed(p) > 180 && qRed(p) > 2 * qGreen(p); }), 0.1);
}
