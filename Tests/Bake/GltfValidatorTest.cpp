// SPDX-License-Identifier: LGPL-2.1-or-later
// The output, checked by the official glTF validator.
#include "ktBakedModels.h"
#include "ktBakeProcess.h"
#include "ktBoxScene.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <QProcess>

using testing::Contains;

namespace {

/// Errors and warnings of a file, one line each. A bake does not change their places in the document.
std::vector<std::string> validate(const std::string& file) {
    QProcess node;
    node.start(KT_NODE, {KT_VALIDATE_SCRIPT, KT_GLTF_VALIDATOR, QString::fromStdString(file)});
    if (!node.waitForFinished(120000) || node.exitStatus() != QProcess::NormalExit || node.exitCode() != 0) {
        ADD_FAILURE() << "the validator does not run: " << node.readAllStandardError().toStdString();
        return {};
    }
    const auto report = nlohmann::json::parse(node.readAllStandardOutput().toStdString());
    EXPECT_FALSE(report.at("issues").at("truncated").get<bool>());
    std::vector<std::string> lines;
    for (const auto& message : report.at("issues").at("messages"))
        if (message.at("severity").get<int>() <= 1)
            lines.push_back(message.at("code").get<std::string>() + " " + message.value("pointer", "") + ": " +
                            message.at("message").get<std::string>());
    return lines;
}

} // namespace

TEST(GltfValidator, GivenGoodModels_FindsNoNewErrors) {
    for (const std::string& scene : ktGoodModels()) {
        const std::vector<std::string> old = validate(scene);
        for (const ktWayToBake& way : ktWaysToBake()) {
            const ktTestFolder folder;
            const std::string name = "out" + std::filesystem::path(scene).extension().string();
            std::vector<std::string> arguments = {scene, "-o", name, "--quiet"};
            arguments.insert(arguments.end(), way.arguments.begin(), way.arguments.end());
            const ktBakeResult result = runBake(folder.path, arguments);
            ASSERT_EQ(result.exitCode, 0) << scene << result.error;
            for (const std::string& issue : validate(folder.file(name)))
                EXPECT_THAT(old, Contains(issue)) << scene << ", " << way.name;
        }
    }
}

TEST(GltfValidator, GivenLightsOfTheScene_FindsNoNewErrors) {
    const ktTestFolder folder;
    nlohmann::json scene = makeBoxes({{"one", {0, 0, 0}}, {"two", {1.2f, 0, 0}}});
    addLamp(scene, 100);
    const std::string file = folder.write("lit.gltf", scene.dump());
    for (const std::string name : {"out.glb", "out.gltf"}) {
        const ktBakeResult result =
            runBake(folder.path, {file, "-o", name, "--quiet", "--mode", "light-and-shadows", "--shadow-quality", "2",
                                  "--subdivide", "--min-edge-length", "10%", "--ground-plane"});
        ASSERT_EQ(result.exitCode, 0) << result.error;
        const std::vector<std::string> old = validate(file);
        for (const std::string& issue : validate(folder.file(name)))
            EXPECT_THAT(old, Contains(issue)) << name;
    }
}

TEST(GltfValidator, GivenBrokenFile_ReportsItsErrors) {
    const ktTestFolder folder;
    auto scene = makeBoxes({{"box", {0, 0, 0}}});
    scene["accessors"][0]["max"] = {9, 9, 9};
    EXPECT_THAT(validate(folder.write("scene.gltf", scene.dump())),
                testing::Contains(testing::HasSubstr("ACCESSOR_MAX_MISMATCH /accessors/0/max/0")));
}
