// SPDX-License-Identifier: LGPL-2.1-or-later
// Distances that follow the size of the scene, and distances that do not suit it.
#include "ktBakedFile.h"
#include "ktBakeProcess.h"
#include "ktBoxScene.h"
#include "ktSceneDistances.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sstream>

using testing::AllOf;
using testing::Each;
using testing::Gt;
using testing::HasSubstr;
using testing::Lt;
using testing::Not;

namespace {

using Point = std::array<double, 3>;

/// A plate of 10 by 6 mm with a square pocket, as an OBJ file in millimetres: the objects "floor", "walls" and "top".
std::string plateWithPocket(double width, double depth) {
    std::ostringstream text;
    int count = 0;
    const auto quad = [&](const Point& a, const Point& b, const Point& c, const Point& d) {
        for (const Point& point : {a, b, c, d})
            text << "v " << point[0] << ' ' << point[1] << ' ' << point[2] << '\n';
        text << "f " << count + 1 << ' ' << count + 2 << ' ' << count + 3 << ' ' << count + 4 << '\n';
        count += 4;
    };
    const double l = 5 - width / 2, r = 5 + width / 2, f = 3 - width / 2, b = 3 + width / 2, y = -depth;
    text << "o floor\n";
    quad({l, y, f}, {l, y, b}, {r, y, b}, {r, y, f});
    text << "o walls\n";
    quad({l, y, f}, {l, 0, f}, {l, 0, b}, {l, y, b});
    quad({r, y, f}, {r, y, b}, {r, 0, b}, {r, 0, f});
    quad({l, y, f}, {r, y, f}, {r, 0, f}, {l, 0, f});
    quad({l, y, b}, {l, 0, b}, {r, 0, b}, {r, y, b});
    text << "o top\n";
    quad({0, 0, 0}, {0, 0, 6}, {l, 0, 6}, {l, 0, 0});
    quad({r, 0, 0}, {r, 0, 6}, {10, 0, 6}, {10, 0, 0});
    quad({l, 0, 0}, {l, 0, f}, {r, 0, f}, {r, 0, 0});
    quad({l, 0, b}, {l, 0, 6}, {r, 0, 6}, {r, 0, b});
    return text.str();
}

/// The `_AO` of a mesh.
std::vector<float> occlusionOf(const ktBakedFile& file, const std::string& mesh) {
    for (const auto& entry : file.json.at("meshes"))
        if (entry.value("name", "") == mesh)
            return file.floats(entry.at("primitives").at(0), "_AO");
    ADD_FAILURE() << "no mesh " << mesh;
    return {};
}

nlohmann::json settingsOf(const ktBakedFile& file) {
    return file.json.at("nodes").at(0).at("extras").at("ambientOcclusion");
}

/// Two cubes with edges of 1 m.
std::string twoBoxes(float distance) {
    return makeBoxes({{"one", {0, 0, 0}}, {"two", {distance, 0, 0}}}).dump();
}

} // namespace

TEST(SceneSize, GivenPartOfTwelveMillimetres_ShowsItsPockets) {
    const ktTestFolder folder;
    folder.write("plate.obj", plateWithPocket(0.4, 0.5));
    const std::vector<std::string> options = {"plate.obj", "-o", "out.glb", "--unit", "mm", "--shadow-quality", "1"};
    const ktBakeResult result = runBake(folder.path, options);
    ASSERT_EQ(result.exitCode, 0) << result.error;
    EXPECT_THAT(result.error, HasSubstr("plate.obj: The diagonal of the scene is 11.7 mm, so the minimum distance is "
                                        "0.00117 mm."));
    const ktBakedFile baked(folder.file("out.glb"));
    EXPECT_THAT(occlusionOf(baked, "floor"), AllOf(Each(Gt(0.0f)), Each(Lt(0.4f))));
    EXPECT_NEAR(settingsOf(baked).at("minDistance"), 1e-4 * std::sqrt(100 + 36 + 0.25), 1e-7);

    std::vector<std::string> given = options;
    given.insert(given.end(), {"--min-distance", "1"});
    const ktBakeResult hidden = runBake(folder.path, given);
    ASSERT_EQ(hidden.exitCode, 0) << hidden.error;
    EXPECT_THAT(hidden.error, AllOf(Not(HasSubstr("The diagonal of the scene")),
                                    HasSubstr("The minimum distance of 1 mm is large for the scene's diagonal of "
                                              "11.7 mm")));
    const ktBakedFile open(folder.file("out.glb"));
    EXPECT_THAT(occlusionOf(open, "floor"), Each(Gt(0.7f))) << "the pocket is smaller than the minimum distance";
    EXPECT_EQ(settingsOf(open).at("minDistance"), 1);
}

TEST(SceneSize, GivenLargeScene_KeepsTheDistances) {
    const ktTestFolder folder;
    folder.write("far.gltf", twoBoxes(10));
    const ktBakeResult result = runBake(folder.path, {"far.gltf", "-o", "out.glb", "--shadow-quality", "0"});
    ASSERT_EQ(result.exitCode, 0) << result.error;
    EXPECT_THAT(result.error, Not(HasSubstr("The diagonal of the scene")));
    const ktBakedFile baked(folder.file("out.glb"));
    EXPECT_EQ(settingsOf(baked).at("minDistance"), 1);
    EXPECT_EQ(settingsOf(baked).at("maxDistance"), 3000);
    EXPECT_EQ(settingsOf(baked).at("minEdgeLength"), 1);
}

TEST(SceneSize, GivenDistanceOfAPresetOrANode_KeepsIt) {
    const ktTestFolder folder;
    folder.write("near.gltf", twoBoxes(2));
    const auto distanceWith = [&](const std::vector<std::string>& options, const std::string& scene = "near.gltf") {
        std::vector<std::string> arguments = {scene, "-o", "out.glb", "--shadow-quality", "0"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        const ktBakeResult result = runBake(folder.path, arguments);
        EXPECT_EQ(result.exitCode, 0) << result.error;
        return settingsOf(ktBakedFile(folder.file("out.glb"))).at("minDistance").get<double>();
    };
    EXPECT_NEAR(distanceWith({}), 1e-4 * std::sqrt(11) * 1000, 1e-4);
    EXPECT_EQ(distanceWith({"--min-distance", "0.9"}), 0.9);
    EXPECT_NEAR(distanceWith({"--save-preset", "Mine"}), 1e-4 * std::sqrt(11) * 1000, 1e-4);
    EXPECT_EQ(distanceWith({"--preset", "Mine"}), 1) << "the preset keeps the setting, not the scene's distance";
    EXPECT_EQ(distanceWith({"--settings-from", "one"}, "out.glb"), 1);
}

TEST(SceneSize, GivenSmallMaximum_KeepsTheMinimumBelow) {
    const ktTestFolder folder;
    folder.write("near.gltf", twoBoxes(2));
    const ktBakeResult result =
        runBake(folder.path, {"near.gltf", "-o", "out.glb", "--shadow-quality", "0", "--max-distance", "0.2"});
    ASSERT_EQ(result.exitCode, 0) << result.error;
    EXPECT_THAT(result.error, HasSubstr("warning: The maximum distance of 0.2 mm is below a ten-thousandth"));
    EXPECT_EQ(settingsOf(ktBakedFile(folder.file("out.glb"))).at("minDistance"), 0.02);
}

TEST(SceneDistances, GivenEachDistance_FollowsTheScene) {
    const ktSceneDistances defaults = {1, 3000, 1};
    const auto followed = [&](const ktGivenDistances& given, double diagonal) {
        ktSceneDistances distances = defaults;
        distances.follow(given, diagonal);
        return std::array<double, 3>{static_cast<double>(distances.minDistance),
                                     static_cast<double>(distances.maxDistance), distances.minEdgeLength};
    };
    using testing::ElementsAre;
    EXPECT_THAT(followed({}, 10000), ElementsAre(1, 3000, 1));
    EXPECT_THAT(followed({}, 100), ElementsAre(0.01f, 3000, 0.1));
    EXPECT_THAT(followed({true, true, true}, 100), ElementsAre(1, 3000, 1));
    EXPECT_THAT(followed({}, 1e6), ElementsAre(1, 10000, 1)) << "a kilometre";
    EXPECT_THAT(followed({}, 0), ElementsAre(1, 3000, 1)) << "no extent";
    EXPECT_THAT(followed({}, std::numeric_limits<double>::infinity()), ElementsAre(1, 3000, 1));
}

TEST(SceneDistances, GivenMistakes_NamesEach) {
    using testing::ElementsAre;
    using testing::IsEmpty;
    const ktGivenDistances all = {true, true, true};
    EXPECT_THAT((ktSceneDistances{1, 3000, 1}).findMistakes(all, 3000, true), IsEmpty());
    EXPECT_THAT((ktSceneDistances{400, 3000, 1}).findMistakes(all, 300, true),
                ElementsAre("The minimum distance of 400 mm is above the scene's diagonal of 300 mm, so nothing "
                            "occludes."));
    EXPECT_THAT((ktSceneDistances{0, 0.02f, 1}).findMistakes(all, 300, true),
                ElementsAre(HasSubstr("The maximum distance of 0.02 mm is below")));
    EXPECT_THAT((ktSceneDistances{0, 3000, 400}).findMistakes(all, 300, true),
                ElementsAre(HasSubstr("nothing is refined")));
    EXPECT_THAT((ktSceneDistances{0, 3000, 400}).findMistakes(all, 300, false), IsEmpty());
    EXPECT_THAT((ktSceneDistances{400, 0.02f, 400}).findMistakes({}, 300, true), IsEmpty()) << "nobody gave them";
}
