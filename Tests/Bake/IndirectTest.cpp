// SPDX-License-Identifier: LGPL-2.1-or-later
// The options of indirect light and their effect on the file.
#include "ktBakedFile.h"
#include "ktBakeProcess.h"
#include "ktBoxScene.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <QImage>
#include <random>

using testing::HasSubstr;

namespace {

constexpr float darkest = 2e-6f; // smallest stored value of a calculated component

/// A red and a white box of one metre, 20 cm apart. The red one is the first primitive and on the left.
nlohmann::json makeRedAndWhite() {
    nlohmann::json scene = makeBoxes({{"red", {0, 0, 0}}, {"white", {1.2f, 0, 0}}});
    scene["materials"] = {{{"pbrMetallicRoughness", {{"baseColorFactor", {0.8, 0.1, 0.05, 1.0}}}}},
                          {{"pbrMetallicRoughness", {{"baseColorFactor", {1.0, 1.0, 1.0, 1.0}}}}}};
    for (const int box : {0, 1})
        scene["meshes"][box]["primitives"][0]["material"] = box;
    return scene;
}

/// The same boxes with a lamp above the gap.
nlohmann::json makeLitRedAndWhite() {
    nlohmann::json scene = makeRedAndWhite();
    scene["extensionsUsed"] = {"KHR_lights_punctual"};
    scene["extensions"]["KHR_lights_punctual"]["lights"] = {
        {{"type", "point"}, {"intensity", 4.0}, {"color", {1.0, 0.5, 0.25}}}};
    scene["scenes"][0]["nodes"].push_back(2);
    scene["nodes"].push_back(
        {{"translation", {0.6, 1.5, 0.0}}, {"extensions", {{"KHR_lights_punctual", {{"light", 0}}}}}});
    return scene;
}

class BakeIndirect : public testing::Test {
protected:
    ktTestFolder folder;

    BakeIndirect() { folder.write("boxes.gltf", makeRedAndWhite().dump()); }

    ktBakedFile bake(std::vector<std::string> options, const std::string& scene = "boxes.gltf") {
        options.insert(options.begin(), {scene, "-o", "out.glb", "--shadow-quality", "0"});
        const ktBakeResult result = runBake(folder.path, options);
        EXPECT_EQ(result.exitCode, 0) << result.error;
        out = result.out;
        return ktBakedFile(folder.file("out.glb"));
    }
    /// Mean of an attribute's components over the vertices of a box whose normal has this x.
    static std::vector<double> faceMean(const ktBakedFile& file, size_t box, const std::string& attribute,
                                        float normalX) {
        const auto primitive = file.primitives().at(box);
        const std::vector<float> normals = file.floats(primitive, "NORMAL"), values = file.floats(primitive, attribute);
        const size_t width = values.size() / 24;
        std::vector<double> mean(width);
        for (size_t vertex = 0; vertex < 24; ++vertex)
            for (size_t c = 0; c < width && normals[3 * vertex] == normalX; ++c)
                mean[c] += values[width * vertex + c] / 4;
        return mean;
    }
    /// Indirect light on the face of the white box that faces the red one.
    static std::vector<double> facingRed(const ktBakedFile& file) { return faceMean(file, 1, "_INDIRECT", -1); }

    std::string out; // standard output of the last run
};

/// Writes a .glb file with the children of all nodes in another order.
void shuffleNodes(const std::string& from, const std::string& to, unsigned seed) {
    const std::string bytes = readFile(from);
    std::uint32_t length = 0;
    std::memcpy(&length, bytes.data() + 12, 4);
    nlohmann::json json = nlohmann::json::parse(bytes.substr(20, length));
    std::mt19937 random(seed);
    const auto shuffle = [&](nlohmann::json& list) {
        for (size_t i = list.size(); i > 1; --i)
            std::swap(list[i - 1], list[random() % i]);
    };
    for (auto& node : json.at("nodes"))
        if (node.contains("children"))
            shuffle(node["children"]);
    for (auto& scene : json.at("scenes"))
        shuffle(scene["nodes"]);
    std::string text = json.dump(), file = bytes.substr(0, 20);
    text.resize((text.size() + 3) / 4 * 4, ' ');
    file += text + bytes.substr(20 + length);
    const auto textLength = static_cast<std::uint32_t>(text.size()),
               fileLength = static_cast<std::uint32_t>(file.size());
    std::memcpy(&file[8], &fileLength, 4);
    std::memcpy(&file[12], &textLength, 4);
    std::ofstream(to, std::ios::binary) << file;
}

std::string rayLine(int rays) {
    return "Num Rays: " + std::to_string(rays) + "\n";
}

} // namespace

TEST_F(BakeIndirect, GivenIndirectOnOrOff_GathersOrDoesNot) {
    const ktBakedFile with = bake({"--indirect"});
    EXPECT_GT(facingRed(with)[0], 0.05);
    const std::vector<double> bright = faceMean(with, 1, "COLOR_0", -1);
    const ktBakedFile without = bake({"--no-indirect"});
    EXPECT_FALSE(without.primitives()[1].at("attributes").contains("_INDIRECT"));
    EXPECT_EQ(faceMean(without, 1, "_AO", -1), faceMean(with, 1, "_AO", -1));
    EXPECT_GT(bright[0], faceMean(without, 1, "COLOR_0", -1)[0] + 0.05) << "viewers show it as well";
    EXPECT_GT(facingRed(bake({}))[0], 0.05) << "it is on by default";
}

TEST_F(BakeIndirect, GivenGatherQuality_CastsItsRays) {
    for (const auto& [quality, rays] : {std::make_pair("0", 64), std::make_pair("1", 256), std::make_pair("2", 576),
                                        std::make_pair("3", 1024), std::make_pair("4", 2304)}) {
        bake({"--gather-quality", quality});
        EXPECT_THAT(out, HasSubstr(rayLine(48 * (64 + rays)))) << "quality " << quality;
    }
    bake({});
    EXPECT_THAT(out, HasSubstr(rayLine(48 * (64 + 1024)))) << "32 by 32 until a quality is given";
}

TEST_F(BakeIndirect, GivenBounces_AddsTheirLight) {
    double before = 0;
    for (const int bounces : {1, 2, 3}) {
        const double light = facingRed(bake({"--bounces", std::to_string(bounces), "--gather-quality", "1"}))[0];
        EXPECT_THAT(out, HasSubstr(rayLine(48 * (64 + bounces * 256))));
        EXPECT_GT(light, 1.01 * before) << bounces;
        before = light;
    }
    const ktBakedFile none = bake({"--bounces", "0"});
    EXPECT_THAT(out, HasSubstr(rayLine(48 * 64)));
    EXPECT_FALSE(none.primitives()[1].at("attributes").contains("_INDIRECT"));
}

TEST_F(BakeIndirect, GivenColorBleeding_TransfersTheColour) {
    const auto bleeding = facingRed(bake({"--color-bleeding", "--no-override-color"}));
    EXPECT_GT(bleeding[0], 0.05);
    EXPECT_NEAR(bleeding[1] / bleeding[0], 0.1 / 0.8, 1e-3);
    EXPECT_NEAR(bleeding[2] / bleeding[0], 0.05 / 0.8, 1e-3);
    const auto grey = facingRed(bake({"--no-color-bleeding", "--no-override-color"}));
    EXPECT_NEAR(grey[0] / bleeding[0], (0.212671 * 0.8 + 0.71516 * 0.1 + 0.072169 * 0.05) / 0.8, 1e-3);
    EXPECT_EQ(grey[0], grey[1]);
    EXPECT_EQ(grey[0], grey[2]);
    EXPECT_EQ(facingRed(bake({"--no-override-color"})), grey) << "it is off by default";
}

TEST_F(BakeIndirect, GivenOverrideColor_ReflectsInThatColour) {
    const auto light = facingRed(bake({"--color-bleeding", "--override-color", "0.2,0.4,0.8"}));
    EXPECT_NEAR(light[1] / light[0], 2, 1e-3);
    EXPECT_NEAR(light[2] / light[0], 4, 1e-3);
    // The default is a grey of 0.7.
    const auto grey = facingRed(bake({"--color-bleeding"}));
    EXPECT_NEAR(grey[0] / light[0], 0.7 / 0.2, 1e-3);
    EXPECT_EQ(grey[0], grey[2]);
    for (const double value : facingRed(bake({"--override-color", "0,0,0"})))
        EXPECT_FLOAT_EQ(static_cast<float>(value), darkest) << "dark, but calculated";
}

TEST_F(BakeIndirect, GivenModes_TracesTheLampAndKeepsItsLight) {
    folder.write("lit.gltf", makeLitRedAndWhite().dump());
    const std::vector<std::string> common = {"--color-bleeding", "--override-color", "1,1,1"};
    const auto inMode = [&](const std::string& mode) {
        std::vector<std::string> options = common;
        options.insert(options.end(), {"--mode", mode});
        return bake(options, "lit.gltf");
    };
    const ktBakedFile classic = inMode("classic"), shadows = inMode("shadows"), light = inMode("light-and-shadows");
    const auto hasLight = [](const ktBakedFile& file) {
        return file.primitives()[1].at("attributes").contains("_BAKED_LIGHT");
    };
    EXPECT_FALSE(hasLight(classic));
    EXPECT_FALSE(hasLight(shadows));
    ASSERT_TRUE(hasLight(light));
    // The lamp is above the gap: the face in the gap sees little sky, but it sees the lamp.
    EXPECT_GT(faceMean(shadows, 1, "_AO", -1)[0], faceMean(classic, 1, "_AO", -1)[0] + 0.01);
    const auto lamp = faceMean(light, 1, "_BAKED_LIGHT", -1);
    EXPECT_GT(lamp[0], 0.1);
    EXPECT_NEAR(lamp[1] / lamp[0], 0.5, 1e-3);
    EXPECT_NEAR(lamp[3], 2 + faceMean(shadows, 1, "_AO", -1)[0], 1e-3) << "with its marker";
    // Bounced light has the lamp's colour if that is baked, otherwise it is grey.
    EXPECT_NEAR(facingRed(light)[1] / facingRed(light)[0], 0.5, 1e-3);
    EXPECT_EQ(facingRed(shadows)[0], facingRed(shadows)[1]);
}

TEST_F(BakeIndirect, GivenShortDistance_GathersFromAnywhereWithTheLampsLightOnly) {
    folder.write("lit.gltf", makeLitRedAndWhite().dump());
    const auto near = [&](const std::string& mode) {
        return facingRed(bake({"--mode", mode, "--max-distance", "150"}, "lit.gltf"))[0];
    };
    EXPECT_FLOAT_EQ(static_cast<float>(near("classic")), darkest) << "the other box is 200 mm away";
    EXPECT_FLOAT_EQ(static_cast<float>(near("shadows")), darkest);
    EXPECT_GT(near("light-and-shadows"), 0.01);
}

TEST_F(BakeIndirect, GivenOneOrTwoThreads_WritesEqualBits) {
    for (const char* threads : {"1", "2"}) {
        bake({"--threads", threads, "--bounces", "2", "--color-bleeding", "--no-override-color"});
        std::rename(folder.file("out.glb").c_str(), folder.file(threads).c_str());
    }
    EXPECT_TRUE(readFile(folder.file("1")) == readFile(folder.file("2")));
}

TEST_F(BakeIndirect, GivenEngineWithShuffledNodes_GivesEqualBits) {
    // With separate results for each use. Otherwise the first use in the scene would decide.
    std::vector<ktBakedFile> files;
    for (const unsigned seed : {1u, 2u}) {
        shuffleNodes(model("glTF2/2CylinderEngine-glTF-Binary/2CylinderEngine.glb"), folder.file("engine.glb"), seed);
        files.push_back(bake({"--unique-instances", "--gather-quality", "0", "--bounces", "2", "--color-bleeding",
                              "--no-override-color"},
                             "engine.glb"));
    }
    int compared = 0;
    for (size_t node = 0; node < files[0].json.at("nodes").size(); ++node) {
        if (!files[0].json["nodes"][node].contains("mesh"))
            continue;
        const auto primitivesOf = [&](size_t file) {
            return files[file].json["meshes"][files[file].json["nodes"][node]["mesh"].get<size_t>()]["primitives"];
        };
        for (size_t i = 0; i < primitivesOf(0).size(); ++i)
            for (const char* attribute : {"_AO", "_INDIRECT"}) {
                const auto values = files[0].floats(primitivesOf(0)[i], attribute);
                EXPECT_TRUE(values == files[1].floats(primitivesOf(1)[i], attribute)) << node << attribute;
                compared += !values.empty();
            }
    }
    EXPECT_GT(compared, 200);
}

TEST_F(BakeIndirect, GivenPreview_ShowsIt) {
    const auto redness = [&](const char* option) {
        bake({"--color-bleeding", "--no-override-color", "--preview", "p.png", option});
        const QImage image(QString::fromStdString(folder.file("p.png")));
        double sum = 0;
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                sum += qRed(image.pixel(x, y)) - qGreen(image.pixel(x, y));
        return sum / image.width() / image.height();
    };
    EXPECT_GT(redness("--indirect"), redness("--no-indirect") + 0.05);
}
