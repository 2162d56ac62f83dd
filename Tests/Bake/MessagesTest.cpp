// SPDX-License-Identifier: LGPL-2.1-or-later
// What ktbake prints when it is quiet, and its messages as JSON.
#include "ktBakeProcess.h"
#include "ktBoxScene.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <QString>
#include <QStringList>
#include <sched.h>

using testing::HasSubstr;
using Json = nlohmann::json;

namespace {

/// Two boxes. The extras of the second are no object, which gives a warning.
std::string sceneWithAWarning() {
    Json scene = makeBoxes({{"door", {0, 0, 0}}, {"wheel", {1.2f, 0, 0}}});
    scene["nodes"][1]["extras"] = "a text";
    return scene.dump();
}

/// The lines of standard error. A line that is no JSON object is a failure.
std::vector<Json> linesOf(const ktBakeResult& result) {
    std::vector<Json> lines;
    for (const QString& line : QString::fromStdString(result.error).split('\n', Qt::SkipEmptyParts)) {
        lines.push_back(Json::parse(line.toStdString(), nullptr, false));
        EXPECT_TRUE(lines.back().is_object() && lines.back().contains("level") && lines.back().contains("text"))
            << line.toStdString();
    }
    return lines;
}

Json firstOf(const std::vector<Json>& lines, const std::string& level) {
    for (const Json& line : lines)
        if (line.at("level") == level)
            return line;
    ADD_FAILURE() << "no line of level " << level;
    return {};
}

Json lastOf(std::vector<Json> lines, const std::string& level) {
    std::reverse(lines.begin(), lines.end());
    return firstOf(lines, level);
}

} // namespace

TEST(Quiet, GivenSuccess_WritesNothingOnEitherStream) {
    const ktTestFolder folder;
    folder.write("car.gltf", sceneWithAWarning());
    ASSERT_THAT(runBake(folder.path, {"car.gltf", "--shadow-quality", "0"}).error, HasSubstr("warning: "));
    for (const std::vector<std::string>& line :
         {std::vector<std::string>{"car.gltf", "-q"},
          {"car.gltf", "--quiet", "--preview", "p.png", "--stats", "s.json", "--bounces", "2", "--subdivide"},
          {"car.gltf", "-qo", "out.gltf", "--ground-plane", "--color-bleeding"},
          {"car-baked.glb", "-q", "--missing"},
          {"car-baked.glb", "-q", "--clear", "shadows"},
          {"car.gltf", "-q", "--json"},
          {"--save-preset", "Mine", "-q"},
          {"--delete-preset", "Mine", "-q"}}) {
        SCOPED_TRACE(testing::PrintToString(line));
        std::vector<std::string> arguments = line;
        if (line[0].find("preset") == std::string::npos)
            arguments.insert(arguments.end(), {"--shadow-quality", "0", "--gather-quality", "0"});
        const ktBakeResult result = runBake(folder.path, arguments);
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.error, "");
    }
    EXPECT_TRUE(std::filesystem::exists(folder.path / "p.png"));
}

TEST(Quiet, GivenOneProcessor_WritesNothingEither) {
    cpu_set_t before;
    ASSERT_EQ(sched_getaffinity(0, sizeof before, &before), 0);
    int first = 0;
    while (!CPU_ISSET(first, &before))
        ++first;
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(first, &one);
    const ktTestFolder folder;
    folder.write("car.gltf", sceneWithAWarning());
    ASSERT_EQ(sched_setaffinity(0, sizeof one, &one), 0); // a program that this one starts has the same processors
    const ktBakeResult result = runBake(folder.path, {"car.gltf", "-q", "--shadow-quality", "0"});
    sched_setaffinity(0, sizeof before, &before);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.error, "");
}

TEST(Quiet, GivenFailure_WritesTheErrorAlone) {
    const ktTestFolder folder;
    folder.write("car.gltf", sceneWithAWarning());
    const ktBakeResult result = runBake(folder.path, {"car.gltf", "-q", "--select", "roof"});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.error, "error: car.gltf: --select: no node is called \"roof\"\n");
}

TEST(Quiet, GivenListOfPresets_StillPrintsIt) {
    const ktTestFolder folder;
    const ktBakeResult result = runBake(folder.path, {"--list-presets", "-q"});
    EXPECT_THAT(result.out, HasSubstr("Car Low Quality\n")) << "the list is what was asked for";
    EXPECT_EQ(result.error, "");
}

#ifdef KT_SCRIPTING
TEST(Quiet, GivenScript_KeepsOnlyItsOwnPrints) {
    const ktTestFolder folder;
    folder.write("car.gltf", sceneWithAWarning());
    folder.write("bake.py",
                 "import sys, kthost, ktAmbientOcclusion\n"
                 "print('one')\n"
                 "ktAmbientOcclusion.computeAmbientOcclusion(0, 1.0, 500.0, True, False, 0, 1, False, 80.0)\n"
                 "sys.stdout.write('two\\n')\n");
    const ktBakeResult result = runBake(folder.path, {"car.gltf", "--script", "bake.py", "-q", "-o", "out.glb"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, "one\ntwo\n");
    EXPECT_EQ(result.error, "");
    EXPECT_TRUE(std::filesystem::exists(folder.path / "out.glb"));
}

TEST(JsonMessages, GivenScriptThatFails_SaysSoInTheLastLine) {
    const ktTestFolder folder;
    folder.write("fail.py", "import sys\nsys.exit(3)\n");
    const ktBakeResult result = runBake(folder.path, {"--script", "fail.py", "--json"});
    EXPECT_EQ(result.exitCode, 3);
    const Json last = linesOf(result).back();
    EXPECT_EQ(last.at("exitCode"), 3);
    EXPECT_EQ(last.at("result"), "scriptFailed");
}
#endif

TEST(JsonMessages, GivenBake_WritesOneObjectALine) {
    const ktTestFolder folder;
    folder.write("car \"ä\".gltf", sceneWithAWarning());
    const ktBakeResult result =
        runBake(folder.path, {"car \"ä\".gltf", "-o", "out.glb", "--shadow-quality", "0", "--json"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.out, HasSubstr("Num Rays: ")) << "standard output is as without the option";
    const std::vector<Json> lines = linesOf(result);
    const Json warning = firstOf(lines, "warning");
    EXPECT_EQ(warning.at("file"), "car \"ä\".gltf");
    EXPECT_EQ(warning.at("object"), "/nodes/1/extras");
    EXPECT_THAT(warning.at("text").get<std::string>(), HasSubstr(warning.at("reason").get<std::string>()));
    EXPECT_EQ(firstOf(lines, "info").at("file"), "car \"ä\".gltf") << "distances that follow the scene";
    EXPECT_EQ(lastOf(lines, "info").at("file"), "out.glb");

    double percent = -1;
    for (const Json& line : lines)
        if (line.at("level") == "progress" && line.contains("percent")) {
            EXPECT_GT(line.at("percent"), percent);
            percent = line.at("percent");
            EXPECT_THAT(line.at("phase"), testing::AnyOf("preparing", "shadows", "bounces"));
            EXPECT_GE(line.at("seconds"), 0);
            EXPECT_GE(line.at("vertices"), 0);
        }
    EXPECT_EQ(percent, 100);

    const Json& last = lines.back();
    EXPECT_EQ(last.at("level"), "result");
    EXPECT_EQ(last.at("result"), "done");
    EXPECT_EQ(last.at("exitCode"), 0);
    EXPECT_EQ(last.at("output"), "out.glb");
    EXPECT_GE(last.at("warnings"), 1);
    EXPECT_GT(last.at("seconds"), 0);
}

TEST(JsonMessages, GivenInterrupt_SaysSoInTheLastLine) {
    const ktTestFolder folder;
    const ktBakeResult result = interruptBake(
        folder.path,
        {model("glTF2/2CylinderEngine-glTF-Binary/2CylinderEngine.glb"), "-o", "-", "--shadow-quality", "5", "--json"},
        "vertices traced");
    EXPECT_EQ(result.exitCode, 130);
    EXPECT_EQ(result.out, "") << "no part of the scene";
    const Json last = linesOf(result).back();
    EXPECT_EQ(last.at("result"), "cancelled");
    EXPECT_EQ(last.at("exitCode"), 130);
    EXPECT_FALSE(last.contains("output"));
}

TEST(JsonMessages, GivenFailures_NameTheParts) {
    const ktTestFolder folder;
    folder.write("car.gltf", sceneWithAWarning());
    struct Row {
        std::vector<std::string> arguments;
        int exitCode;
        const char* result;
        Json fields;
    };
    for (const Row& row : {
             Row{{"car.gltf", "--mode", "dark"}, 2, "usage", {{"option", "--mode"}, {"value", "dark"}}},
             Row{{"car.gltf", "--bunces=2"}, 2, "usage", {{"option", "--bunces"}, {"value", "2"}}},
             Row{{"cra.gltf"}, 3, "badInput", {{"file", "cra.gltf"}, {"reason", "does not exist"}}},
             Row{{"car.gltf", "--select", "roof"},
                 3,
                 "badInput",
                 {{"file", "car.gltf"}, {"option", "--select"}, {"value", "roof"}}},
             Row{{"car.gltf", "--preset", "Crane"}, 2, "usage", {{"option", "--preset"}, {"value", "Crane"}}},
             Row{{"car.gltf", "-o", "no/out.glb"}, 4, "notWritten", {{"file", "no/out.glb"}}},
         }) {
        SCOPED_TRACE(testing::PrintToString(row.arguments));
        std::vector<std::string> arguments = row.arguments;
        arguments.push_back("--json");
        const ktBakeResult result = runBake(folder.path, arguments);
        EXPECT_EQ(result.exitCode, row.exitCode);
        const std::vector<Json> lines = linesOf(result);
        const Json error = firstOf(lines, "error");
        for (const auto& [field, value] : row.fields.items())
            EXPECT_EQ(error.value(field, Json()), value) << field;
        EXPECT_THAT(error.at("text").get<std::string>(), HasSubstr(error.at("reason").get<std::string>()));
        EXPECT_EQ(lines.back().at("level"), "result");
        EXPECT_EQ(lines.back().at("result"), row.result);
        EXPECT_EQ(lines.back().at("exitCode"), row.exitCode);
        arguments.push_back("--quiet");
        for (const Json& line : linesOf(runBake(folder.path, arguments)))
            EXPECT_THAT(line.at("level"), testing::AnyOf("error", "result"));
    }
}
