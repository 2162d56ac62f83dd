// SPDX-License-Identifier: LGPL-2.1-or-later
// Refined meshes have no gaps and no bad triangles, checked by world positions alone. ktRefinementReport does the same
// for any model.
#include "ktMeshFlaws.h"
#include "ktRefinedModel.h"

#include <gtest/gtest.h>

namespace {

struct Model {
    const char* file;
    int quality;
    float minEdgeLength;
};

std::ostream& operator<<(std::ostream& out, const Model& model) {
    return out << model.file;
}

ktRefinementSettings settingsOf(const Model& model) {
    ktRefinementSettings settings;
    settings.samples = 16;
    settings.quality = model.quality;
    settings.minEdgeLength = model.minEdgeLength;
    settings.threshold = 0.08f;
    return settings;
}

void expectNoFlaws(const ktMeshFlaws& flaws) {
    EXPECT_EQ(flaws.hanging, 0u);
    EXPECT_EQ(flaws.flipped, 0u);
    EXPECT_EQ(flaws.flat, 0u);
    EXPECT_EQ(flaws.lost, 0u);
    EXPECT_LT(std::abs(flaws.areaChange), 1e-5);
}

class RefinementConformity : public ::testing::TestWithParam<Model> {};

ktWorldTriangles oneTriangle() {
    return {{{{{0, 0, 0}, {4, 0, 0}, {0, 4, 0}}}}, {0}};
}

} // namespace

TEST_P(RefinementConformity, GivenAModelAndItsGround_LeavesNoGapAndNoBadTriangle) {
    ktRefinedModel model(std::string(KT_MODELS "/") + GetParam().file, true, settingsOf(GetParam()));
    const ktWorldTriangles before = ktReadWorldTriangles(model.nodes);
    model.refine(model.nodes);
    const ktWorldTriangles after = ktReadWorldTriangles(model.nodes);
    EXPECT_GT(after.corners.size(), before.corners.size());
    expectNoFlaws(ktFindFlaws(before, after));
}

INSTANTIATE_TEST_SUITE_P(Models, RefinementConformity,
                         ::testing::Values(Model{"glTF2/BoxTextured-glTF-Binary/BoxTextured.glb", 2, 1},
                                           Model{"glTF2/2CylinderEngine-glTF-Binary/2CylinderEngine.glb", 0, 20},
                                           Model{"Collada/duck.dae", 0, 10}, Model{"OBJ/spider.obj", 0, 10},
                                           Model{"3DS/fels.3ds", 2, 1}));

TEST(RefinementConformity, GivenOnlySomeGeometryRefined_LeavesNoGapToTheRest) {
    const Model engine{"glTF2/2CylinderEngine-glTF-Binary/2CylinderEngine.glb", 0, 20};
    ktRefinedModel model(std::string(KT_MODELS "/") + engine.file, false, settingsOf(engine));
    const ktWorldTriangles before = ktReadWorldTriangles(model.nodes);
    std::vector<osg::NodePtr> some;
    for (std::size_t i = 0; i < model.nodes.size(); i += 2)
        some.push_back(model.nodes[i]);
    model.refine(some);
    const ktWorldTriangles after = ktReadWorldTriangles(model.nodes);
    EXPECT_GT(after.corners.size(), before.corners.size());
    expectNoFlaws(ktFindFlaws(before, after));
}

TEST(MeshFlaws, GivenAGoodCut_FindsNone) {
    const ktWorldTriangles cut = {{{{{0, 0, 0}, {4, 0, 0}, {2, 2, 0}}}, {{{0, 0, 0}, {2, 2, 0}, {0, 4, 0}}}}, {0, 0}};
    expectNoFlaws(ktFindFlaws(oneTriangle(), cut));
}

TEST(MeshFlaws, GivenAPlaceInsideAnEdge_FindsIt) {
    // One part is split at the shared edge, the other is not.
    const ktWorldTriangles cut = {
        {{{{0, 0, 0}, {4, 0, 0}, {2, 2, 0}}}, {{{0, 0, 0}, {1, 1, 0}, {0, 4, 0}}}, {{{1, 1, 0}, {2, 2, 0}, {0, 4, 0}}}},
        {0, 0, 0}};
    EXPECT_EQ(ktFindFlaws(oneTriangle(), cut).hanging, 1u);
}

TEST(MeshFlaws, GivenAGapBetweenTwoGeometries_FindsIt) {
    const ktWorldTriangles before = {{{{{0, 0, 0}, {4, 0, 0}, {0, 4, 0}}}, {{{4, 0, 0}, {4, 4, 0}, {0, 4, 0}}}},
                                     {0, 1}};
    const ktWorldTriangles after = {
        {{{{0, 0, 0}, {4, 0, 0}, {2, 2, 0}}}, {{{0, 0, 0}, {2, 2, 0}, {0, 4, 0}}}, {{{4, 0, 0}, {4, 4, 0}, {0, 4, 0}}}},
        {0, 0, 1}};
    EXPECT_EQ(ktFindFlaws(before, after).hanging, 1u);
}

TEST(MeshFlaws, GivenPartsThatOnlyTouch_FindsNone) {
    // The second triangle has a corner in the middle of an edge of the first, already in the file.
    ktWorldTriangles before = oneTriangle();
    before.corners.push_back({{{2, 2, 0}, {6, 6, 0}, {4, 0, 0}}});
    before.nodes.push_back(1);
    expectNoFlaws(ktFindFlaws(before, before));
}

TEST(MeshFlaws, GivenFlippedFlatOrForeignTriangles_FindsThem) {
    const ktWorldTriangles bad = {{{{{0, 0, 0}, {2, 2, 0}, {4, 0, 0}}},
                                   {{{0, 0, 0}, {4, 0, 0}, {2, 1e-3, 0}}},
                                   {{{0, 0, 0}, {2, 2, 1}, {0, 4, 0}}}},
                                  {0, 0, 0}};
    const ktMeshFlaws flaws = ktFindFlaws(oneTriangle(), bad);
    EXPECT_EQ(flaws.flipped, 1u);
    EXPECT_EQ(flaws.flat, 1u);
    EXPECT_EQ(flaws.lost, 1u);
}
