// SPDX-License-Identifier: LGPL-2.1-or-later
// Messages of ktbake about refinement: its progress, and settings that prevent it.
#include "ktBakedFile.h"
#include "ktBakeProcess.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

using ::testing::HasSubstr;
using ::testing::Not;

namespace {

const char* const box = "glTF2/BoxTextured-glTF-Binary/BoxTextured.glb";

std::string messages(const std::vector<std::string>& options) {
    const ktTestFolder folder;
    std::vector<std::string> arguments = {model(box), "-o", folder.file("out.glb"), "--ground-plane"};
    if (std::find(options.begin(), options.end(), "--no-subdivide") == options.end())
        arguments.push_back("--subdivide");
    arguments.insert(arguments.end(), options.begin(), options.end());
    const ktBakeResult result = runBake(folder.path, arguments);
    EXPECT_EQ(result.exitCode, 0) << result.error;
    return result.error;
}

} // namespace

TEST(BakeRefinement, GivenALowShadowQuality_SaysThatNothingIsRefined) {
    for (const std::string quality : {"0", "1"})
        EXPECT_THAT(messages({"--no-indirect", "--shadow-quality", quality}),
                    HasSubstr("Geometry is not refined with a shadow quality of " + quality));
    EXPECT_THAT(messages({"--bounces", "0", "--shadow-quality", "1", "--gather-quality", "3"}),
                HasSubstr("Geometry is not refined with a shadow quality of 1"));
}

TEST(BakeRefinement, GivenOnlyIndirectRefinement_SaysThatItChangesNothing) {
    const std::string said = messages({"--shadow-quality", "1", "--gather-quality", "2"});
    EXPECT_THAT(said, HasSubstr("Refinement by indirect light alone changes no geometry"));
    EXPECT_THAT(said, Not(HasSubstr("Refining:")));
}

TEST(BakeRefinement, GivenALowGatherQuality_SaysThatBouncesDoNotRefine) {
    for (const std::string quality : {"0", "1"})
        EXPECT_THAT(messages({"--gather-quality", quality}),
                    HasSubstr("with a gather quality of " + quality + " bounces do not refine"));
}

TEST(BakeRefinement, GivenActiveRefinement_ReportsItsRoundsWithoutWarnings) {
    const std::string said = messages({"--no-indirect", "--subdivision-quality", "1"});
    EXPECT_THAT(said, HasSubstr("Refining: round 1 of 4"));
    EXPECT_THAT(said, HasSubstr("Refining: round 4 of 4"));
    EXPECT_THAT(said, Not(HasSubstr("not refine")));
    EXPECT_THAT(messages({"--gather-quality", "2"}), Not(HasSubstr("not refine")));
}

TEST(BakeRefinement, GivenMaxTrianglesWithoutUse_SaysSo) {
    EXPECT_THAT(messages({"--no-subdivide", "--no-indirect", "--max-triangles", "2x"}),
                HasSubstr("A number of triangles has no effect without refinement"));
    EXPECT_THAT(messages({"--no-indirect", "--max-triangles", "2x", "--fit", "vertices"}),
                HasSubstr("A number of triangles has no effect with the fit \"vertices\""));
    EXPECT_THAT(messages({"--no-indirect", "--max-triangles", "2x"}), Not(HasSubstr("no effect")));
}

TEST(BakeRefinement, GivenMaxTriangles_KeepsThemAndFillsThem) {
    const auto trianglesWith = [](const std::vector<std::string>& options) {
        const ktTestFolder folder;
        std::vector<std::string> arguments = {model(box), "-o", folder.file("out.glb"), "--ground-plane",
                                              "--no-indirect"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        const ktBakeResult result = runBake(folder.path, arguments);
        EXPECT_EQ(result.exitCode, 0) << result.error;
        const ktBakedFile file(folder.file("out.glb"));
        double triangles = 0;
        for (const auto& primitive : file.primitives())
            triangles += static_cast<double>(file.indices(primitive).size()) / 3;
        return triangles;
    };
    const double before = trianglesWith({});
    const double after = trianglesWith({"--subdivide", "--max-triangles", "5x", "--intensity-threshold", "0.0075"});
    EXPECT_GT(after, 0.98 * 5 * before);
    EXPECT_LT(after, 1.02 * 5 * before);
    EXPECT_EQ(trianglesWith({"--max-triangles", "5x"}), before);
}
