// SPDX-License-Identifier: LGPL-2.1-or-later
// Refinement of values that are fitted to the surface: no gaps, a budget of triangles, and few vertices.
#include "ktFitMode.h"
#include "ktMeshFlaws.h"
#include "ktRefinedModel.h"
#include "ktTriangleBudget.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <gtest/gtest.h>
#include <QTemporaryDir>

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

// A floor of two triangles, and on it a wall whose back side sees less of the sky.
std::string writeWall(const std::string& folder) {
    const std::string path = folder + "/wall.obj";
    std::ofstream file(path);
    file << "o floor\nv -2000 0 2000\nv 2000 0 2000\nv 2000 0 -2000\nv -2000 0 -2000\nf 1 2 3\nf 1 3 4\n"
            "o wall\nv -900 -100 300\nv 1100 -100 -500\nv 1100 800 -500\nv -900 800 300\n"
            "v -1000 -100 50\nv 1000 -100 -750\nv 1000 800 -750\nv -1000 800 50\n"
            "f 5 6 7\nf 5 7 8\nf 10 9 12\nf 10 12 11\nf 9 5 8\nf 9 8 12\nf 6 10 11\nf 6 11 7\nf 8 7 11\nf 8 11 12\n"
            "o roof\nv -1000 700 50\nv 1000 700 -750\nv 700 700 -1500\nv -1300 700 -700\n"
            "f 13 14 15\nf 13 15 16\nf 13 15 14\nf 13 16 15\n";
    return path;
}

// The length of the edges of the floor that lie on the two sides of the wall's foot, seen from outside.
double lengthAlongFoot(const ktWorldTriangles& triangles) {
    double most = 0; // the file has no unit, so its size may have changed
    for (const auto& corners : triangles.corners)
        for (const auto& p : corners)
            most = std::max(most, p[0]);
    const double scale = most / 2000;
    // From the line in the middle of the foot, which is 269 wide.
    const auto distance = [scale](const std::array<double, 3>& p) {
        return (800 * (p[0] / scale + 950) + 2000 * (p[2] / scale - 175)) / std::hypot(800.0, 2000.0);
    };
    const double half = 0.5 * (800 * 100 + 2000 * 250) / std::hypot(800.0, 2000.0);
    double sum = 0;
    for (const auto& corners : triangles.corners)
        for (std::size_t i = 0; i < 3; ++i) {
            const auto &a = corners[i], &b = corners[(i + 1) % 3], &c = corners[(i + 2) % 3];
            const bool isFloor = std::abs(a[1]) + std::abs(b[1]) + std::abs(c[1]) < 1e-3;
            const double side = distance(c) > 0 ? half : -half;
            const bool isVisible = std::abs(distance(c)) > half;
            if (isFloor && isVisible && std::abs(distance(a) - side) < 0.1 && std::abs(distance(b) - side) < 0.1)
                sum += std::hypot(a[0] - b[0], a[2] - b[2]) / scale;
        }
    return sum;
}

} // namespace

TEST_F(FittedRefinement, GivenAWallOnTheFloor_EdgesOfTheFloorFollowItsFoot) {
    const QTemporaryDir folder;
    ktRefinedModel model(writeWall(folder.path().toStdString()), false, settingsOf(32, 0.02f));
    const ktWorldTriangles before = ktReadWorldTriangles(model.nodes);
    ktSetTriangleBudget({400, false});
    model.refine(model.nodes);
    const ktWorldTriangles after = ktReadWorldTriangles(model.nodes);
    EXPECT_GT(lengthAlongFoot(after), 0.4 * std::hypot(800.0, 2000.0));
    EXPECT_FALSE(ktFindFlaws(before, after).any());
}

TEST_F(FittedRefinement, GivenSplitsTakenBack_LeavesNoVertexWithoutATriangle) {
    ktSetTriangleBudget({3, true});
    ktRefinedModel model(std::string(KT_MODELS "/") + box, true, settingsOf(32, 0.01f));
    std::size_t originals = 0;
    for (const osg::NodePtr& node : model.nodes)
        originals += ktRefinedModel::vertexCount(node);
    model.refine(model.nodes);
    std::size_t vertices = 0, unused = 0;
    for (const osg::NodePtr& node : model.nodes) {
        std::vector<bool> isUsed(ktRefinedModel::vertexCount(node), false);
        vertices += isUsed.size();
        const osg::GeometryPtr geometry = ktRefinedModel::geometryOf(node);
        for (osg::UInt32 i = 0; i < geometry->getIndices()->getSize(); ++i)
            isUsed[geometry->getIndices()->getValue(i)] = true;
        unused += static_cast<std::size_t>(std::count(isUsed.begin(), isUsed.end(), false));
    }
    EXPECT_GT(vertices, originals + 50);
    EXPECT_EQ(unused, 0u);
}

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
