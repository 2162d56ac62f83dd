// SPDX-License-Identifier: LGPL-2.1-or-later
// Refinement of values that are fitted to the surface: no gaps, a budget of triangles, and few vertices.
#include "ktFitMode.h"
#include "ktMeshFlaws.h"
#include "ktRefinedModel.h"
#include "ktTriangleBudget.h"

#include <gtest/gtest.h>

namespace {

const char* const box = "glTF2/BoxTextured-glTF-Binary/BoxTextured.glb";
const char* const engine = "glTF2/2CylinderEngine-glTF-Binary/2CylinderEngine.glb";

class FittedRefinement : public ::testing::Test {
protected:
    FittedRefinement() { ktSetFitMode(ktFitMode::Surface); }
    ~FittedRefinement() override {
        ktSetFitMode(ktFitMode::Vertices);
        ktSetTriangleBudget({});
    }

    // Triangles before and after the refinement of a whole model with a ground plane.
    struct Outcome {
        ktWorldTriangles before, after;
    };
    static Outcome refine(const char* file, const ktRefinementSettings& settings) {
        ktRefinedModel model(std::string(KT_MODELS "/") + file, true, settings);
        Outcome outcome;
        outcome.before = ktReadWorldTriangles(model.nodes);
        model.refine(model.nodes);
        outcome.after = ktReadWorldTriangles(model.nodes);
        return outcome;
    }
};

ktRefinementSettings settingsOf(int samples, float threshold) {
    ktRefinementSettings settings;
    settings.samples = samples;
    settings.threshold = threshold;
    return settings;
}

} // namespace

TEST_F(FittedRefinement, GivenAModelAndItsGround_LeavesNoGapAndNoBadTriangle) {
    for (const char* file : {box, engine, "Collada/duck.dae", "OBJ/spider.obj", "3DS/fels.3ds"}) {
        const Outcome outcome = refine(file, settingsOf(16, 0.08f));
        EXPECT_GT(outcome.after.corners.size(), outcome.before.corners.size()) << file;
        const ktMeshFlaws flaws = ktFindFlaws(outcome.before, outcome.after);
        EXPECT_FALSE(flaws.any()) << file << ": " << flaws.hanging << " hanging, " << flaws.flipped << " flipped, "
                                  << flaws.flat << " flat, " << flaws.lost << " lost";
        EXPECT_LT(std::abs(flaws.areaChange), 1e-5) << file;
    }
}

TEST_F(FittedRefinement, GivenABudget_KeepsItWithinTwoPercent) {
    for (const ktTriangleBudget budget : {ktTriangleBudget{2000, false}, ktTriangleBudget{6, true}}) {
        ktSetTriangleBudget(budget);
        const Outcome outcome = refine(box, settingsOf(32, 0.0075f));
        const auto most = static_cast<double>(budget.of(outcome.before.corners.size()));
        EXPECT_GT(static_cast<double>(outcome.after.corners.size()), 0.98 * most);
        EXPECT_LT(static_cast<double>(outcome.after.corners.size()), 1.02 * most);
    }
}

TEST_F(FittedRefinement, GivenABudgetBelowTheScene_AddsNothing) {
    ktSetTriangleBudget({100, false});
    const Outcome outcome = refine(box, settingsOf(16, 0.04f));
    EXPECT_EQ(outcome.after.corners.size(), outcome.before.corners.size());
}

// With 16 x 16 rays per vertex, the light at a point is off by 0.012: noise must not look like a shadow.
TEST_F(FittedRefinement, GivenNoise_AddsHardlyAnyVerticesForIt) {
    const std::size_t noisy = refine(box, settingsOf(16, 0.02f)).after.corners.size();
    const std::size_t clean = refine(box, settingsOf(64, 0.02f)).after.corners.size();
    EXPECT_LT(noisy, clean + clean / 4);
    EXPECT_GT(noisy, clean / 2);
}

TEST(TriangleBudget, GivenText_ReadsNumbersAndFactors) {
    ktTriangleBudget budget;
    EXPECT_TRUE(ktParseTriangleBudget("100000", budget));
    EXPECT_EQ(budget.of(7), 100000u);
    EXPECT_TRUE(ktParseTriangleBudget("2.5x", budget));
    EXPECT_EQ(budget.of(1000), 2500u);
    for (const char* text : {"", "x", "4 x", "4X", "0", "0.5x", "-4x", "10.5", "nan", "infx", "4xx", "1e3", " 4x"})
        EXPECT_FALSE(ktParseTriangleBudget(text, budget)) << text;
    EXPECT_EQ(budget.of(1000), 2500u);
    EXPECT_EQ(ktTriangleBudget().of(1000), 0u);
}
