// SPDX-License-Identifier: LGPL-2.1-or-later
// Wrong command lines: the message names the option and the value as typed, and suggests a near name.
#include "ktBakeProcess.h"
#include "ktBoxScene.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::HasSubstr;
using testing::Not;

namespace {

struct WrongLine {
    std::vector<std::string> arguments;
    int exitCode;
    std::string message;    ///< what the error begins with
    std::string suggestion; ///< empty: none is expected
};

const std::vector<WrongLine> wrongLines = {
    // Options that do not exist
    {{"car.gltf", "--shadow-qualty", "3"}, 2, "--shadow-qualty 3: unknown option", "--shadow-quality?"},
    {{"--shadow-qualty", "3", "car.gltf"}, 2, "--shadow-qualty 3: unknown option", "--shadow-quality?"},
    {{"--shadow-qualty=3", "car.gltf"}, 2, "--shadow-qualty 3: unknown option", "--shadow-quality?"},
    {{"--boucnes", "2"}, 2, "--boucnes 2: unknown option", "--bounces?"},
    {{"car.gltf", "--no-subdivde"}, 2, "--no-subdivde: unknown option", "--no-subdivide?"},
    {{"car.gltf", "--quality", "2"},
     2,
     "--quality 2: unknown option",
     "--shadow-quality, --gather-quality or --subdivision-quality?"},
    {{"car.gltf", "--Stats", "s.json"}, 2, "--Stats s.json: unknown option", "--stats?"},
    {{"car.gltf", "-quiet"}, 2, "-quiet: unknown option", "--quiet?"},
    {{"car.gltf", "-x"}, 2, "-x: unknown option", ""},
    {{"car.gltf", "--no-missing"}, 2, "--no-missing: unknown option", ""},
    {{"--list-preset"}, 2, "--list-preset: unknown option", "--list-presets?"},
    // Values that are missing, superfluous or repeated
    {{"car.gltf", "--shadow-quality"}, 2, "--shadow-quality: the value is missing; needed is 0..5", ""},
    {{"car.gltf", "-o", "--preview", "p.png"}, 2, "--output: the value is missing", ""},
    {{"car.gltf", "--preset", ""}, 2, "--preset \"\": the value is empty", ""},
    {{"car.gltf", "--stats="}, 2, "--stats \"\": the value is empty", ""},
    {{"car.gltf", "--indirect=false"}, 2, "--indirect false: the option takes no value", "--no-indirect"},
    {{"car.gltf", "--mode", "classic", "--mode", "shadows"}, 2, "--mode shadows: given twice", ""},
    {{"car.gltf", "two cars.glb"}, 2, "\"two cars.glb\": only one SCENE can be given, and it is car.gltf", ""},
    // Values out of range
    {{"car.gltf", "--shadow-quality", "6"}, 2, "--shadow-quality 6: must be a whole number from 0 to 5", ""},
    {{"car.gltf", "--bounces", "2.5"}, 2, "--bounces 2.5: must be a whole number from 0 to 100", ""},
    {{"car.gltf", "--threads", "0x"}, 2, "--threads 0x: must be a whole number from 1 to 1024", ""},
    {{"car.gltf", "--min-distance", "5%x"}, 2, "--min-distance 5%x: must be a number from 0 on", ""},
    {{"car.gltf", "--max-distance", "-3e2%"}, 2, "--max-distance -3e2%: must be a number from 0 on", ""},
    {{"car.gltf", "--min-edge-length", "0.0"}, 2, "--min-edge-length 0.0: must be above 0", ""},
    {{"car.gltf", "--max-triangles", "0.5x"}, 2, "--max-triangles 0.5x: must be a number of triangles, or a fac", ""},
    {{"car.gltf", "--max-triangles", "10.5"}, 2, "--max-triangles 10.5: must be a number of triangles, or a fac", ""},
    {{"car.gltf", "--exposure", "1e-99"}, 2, "--exposure 1e-99: must be a number above 0", ""},
    {{"car.gltf", "--intensity-threshold", "7e-3"}, 2, "--intensity-threshold 7e-3: must be a number from 0.0075", ""},
    {{"car.gltf", "--override-color", "1,1,.x"}, 2, "--override-color 1,1,.x: must be three numbers", ""},
    {{"car.gltf", "--strength", "-1"}, 2, "--strength -1: must be a number from 0 to 10", ""},
    {{"car.gltf", "--up", "w"}, 2, "--up w: must be x, y or z", ""},
    {{"car.gltf", "--mode", "shadow"}, 2, "--mode shadow: must be classic, shadows or light-", "mean shadows?"},
    {{"car.gltf", "--tracer", "Embree"}, 2, "--tracer Embree: must be embree or hemisphere", "mean embree?"},
    {{"car.gltf", "--unit", "inches"}, 2, "--unit inches: must be auto, mm, cm, m, inch, foot or", "mean inch?"},
    {{"car.gltf", "-o", "car.obj"}, 2, "--output car.obj: the file's name must end in .glb or .gltf", ""},
    {{"car.gltf", "--preview", "car.jpg"}, 2, "--preview car.jpg: the file's name must end in .png", ""},
    {{"car.gltf", "--preview", "p.png", "--preview-size", "10"},
     2,
     "--preview-size 10: must be width and height in pixels, each from 1 to 16384, such as 1280x960",
     ""},
    {{"car.gltf", "--preview", "p.png", "--preview-size", "0x10"}, 2, "--preview-size 0x10: must be", ""},
    {{"car.gltf", "--preview", "p.png", "--preview-size", "10x16385"}, 2, "--preview-size 10x16385: must be", ""},
    {{"car.gltf", "--preview-size", "10x10"}, 2, "--preview-size 10x10: needs --preview FILE.png", ""},
    {{"car.gltf", "--preview-headlight"}, 2, "--preview-headlight: needs --preview FILE.png", ""},
    // Options that do not go together
    {{"car.gltf", "--min-distance", "5e0", "--max-distance", "5"},
     2,
     "--min-distance 5e0: must be smaller than --max-distance 5",
     ""},
    {{"car.gltf", "--min-distance", "0.5e2%"},
     2,
     "The minimum distance (--min-distance 0.5e2%, which is 3464.1 mm) must be smaller than the maximum distance "
     "(3000 mm)",
     ""},
    {{"car.gltf", "--override-color", "1,1,1", "--no-override-color"},
     2,
     "--no-override-color: contradicts --override-color 1,1,1",
     ""},
    {{"car.gltf", "--active"}, 2, "--active: needs --clear", ""},
    {{"car.gltf", "--clear", "shadows", "--missing"}, 2, "--clear shadows: removes results, and --missing adds", ""},
    {{"--script", "s.py", "--bounces", "2"}, 2, "--bounces 2: does not go with --script", ""},
    {{"--list-presets", "--preview", "p.png"}, 2, "--preview p.png: needs a SCENE", ""},
    {{"--select", "door", "wheel", "car.gltf", "--bounces", "2"}, 2, "--select car.gltf: read as the name of a", ""},
    {{}, 2, "SCENE: is missing", ""},
    // Names that nothing has
    {{"car.gltf", "--preset", "Car Hihg Quality"},
     2,
     "--preset: No preset is called \"Car Hihg Quality\"",
     "\"Car High Quality\"?"},
    {{"--delete-preset", "car low quality"},
     2,
     "--delete-preset: no preset is called \"car low quality\"",
     "\"Car Low Quality\"?"},
    {{"car.gltf", "--select", "door", "--select", "whele"},
     3,
     "car.gltf: --select: no node is called \"whele\"",
     "\"wheel\"?"},
    {{"car.gltf", "--settings-from", "dor"}, 3, "car.gltf: --settings-from: no node is called \"dor\"", "\"door\"?"},
    {{"--script", "no such.py"}, 3, "--script \"no such.py\": there is no such script", ""},
    {{"cra.gltf"}, 3, "cra.gltf: does not exist", ""},
};

} // namespace

TEST(WrongCommandLine, GivenEachOne_NamesOptionAndValueAndSuggestsANearName) {
    ASSERT_GE(wrongLines.size(), 30u);
    const ktTestFolder folder;
    // Boxes of 1 m, so that the diagonal is 6.928 m.
    folder.write("car.gltf", makeBoxes({{"door", {0, 0, 0}}, {"wheel", {3, 3, 3}}}).dump());
    for (const WrongLine& line : wrongLines) {
        SCOPED_TRACE(testing::PrintToString(line.arguments));
        const ktBakeResult result = runBake(folder.path, line.arguments);
#ifndef KT_SCRIPTING
        if (line.message.find("--script \"no such") == 0)
            continue; // such a ktbake refuses every script
#endif
        EXPECT_EQ(result.exitCode, line.exitCode);
        EXPECT_THAT(result.error, HasSubstr(": " + line.message));
        if (line.suggestion.empty())
            EXPECT_THAT(result.error, Not(HasSubstr("did you mean")));
        else
            EXPECT_THAT(result.error, HasSubstr(line.suggestion));
        EXPECT_EQ(result.out, "");
        EXPECT_FALSE(std::filesystem::exists(folder.path / "car-baked.glb"));
    }
}
