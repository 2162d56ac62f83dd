// SPDX-License-Identifier: LGPL-2.1-or-later
// Compares the hemisphere tracer with Embree, ray by ray, on scenes that provoke errors. Where the two differ, a test
// in double precision must find that the ray passes within rounding of an edge or a distance limit.
#include "ktHostileMeshes.h"
#include "ktTracerComparison.h"

#include <gtest/gtest.h>

namespace {

struct Case {
    const char* name;
    std::vector<ktTestMesh> (*make)();
    /// Share of the rays that may differ by rounding.
    double share = 1e-5;
    /// Rays where Embree is wrong.
    std::uint64_t embreeWrong = 0;
};

void PrintTo(const Case& testCase, std::ostream* out) {
    *out << testCase.name;
}

class HemisphereAgreement : public testing::TestWithParam<Case> {
protected:
    void expectAgreement(ktLeafKind kind) const;
    void expectAgreement(const ktTracerComparison::Result& result, const char* what) const {
        SCOPED_TRACE(what);
        EXPECT_EQ(result.wrong, 0u);
        EXPECT_LE(result.embreeWrong, GetParam().embreeWrong);
        EXPECT_LE(static_cast<double>(result.differing - result.embreeWrong),
                  GetParam().share * static_cast<double>(result.rays));
    }
};

// Rounding decides more rays where surfaces are closer than floats can resolve, or touch on a grid that floats cannot
// represent.
const Case cases[] = {
    {"Spheres", ktHostileMeshes::spheres},
    {"Boxes", ktHostileMeshes::boxes},
    {"Needles", ktHostileMeshes::needles},
    {"Soup", ktHostileMeshes::soup},
    {"HugeAmongSmall", ktHostileMeshes::hugeAmongSmall},
    {"HugeScene", ktHostileMeshes::hugeScene},
    {"TinyScene", ktHostileMeshes::tinyScene},
    {"TinyAmongLarge", ktHostileMeshes::tinyAmongLarge},
    {"FarFromOrigin", ktHostileMeshes::farFromOrigin, 2e-3},
    {"CoplanarStack", ktHostileMeshes::coplanarStack, 1e-3},
    {"Degenerate", ktHostileMeshes::degenerate, 1e-5, 1},
    {"NotFinite", ktHostileMeshes::notFinite},
    {"ManyScales", ktHostileMeshes::manyScales},
    {"OnePoint", ktHostileMeshes::onePoint},
};

} // namespace

INSTANTIATE_TEST_SUITE_P(All, HemisphereAgreement, testing::ValuesIn(cases),
                         [](const auto& tested) { return std::string(tested.param.name); });

void HemisphereAgreement::expectAgreement(ktLeafKind kind) const {
    ktTracerComparison comparison(GetParam().make(), 16, kind);
    comparison.addSurfaceVertices(150, 1);
    ASSERT_EQ(comparison.vertexCount(), 150u);
    ktRayLimits limits = comparison.widest();
    const ktTracerComparison::Result widest = comparison.occlusion(32, 32, limits);
    EXPECT_GT(widest.met, widest.rays / 20);
    expectAgreement(widest, "unlimited");
    limits.bothSides = false;
    expectAgreement(comparison.occlusion(16, 16, limits), "front sides");
    limits.maxDistance = 0.03f * comparison.diagonal();
    expectAgreement(comparison.occlusion(16, 16, limits), "front sides up to 3 %");
    limits.bothSides = true;
    expectAgreement(comparison.occlusion(16, 16, limits), "up to 3 %");
    limits.minDistance = 0.01f * comparison.diagonal();
    expectAgreement(comparison.occlusion(9, 11, limits), "1 to 3 %");
    limits = comparison.widest();
    limits.minDistance = 0;
    expectAgreement(comparison.occlusion(48, 48, limits), "from 0, three batches of rays");
    expectAgreement(comparison.nearest(16, 16, comparison.widest()), "nearest");
    limits.bothSides = false;
    expectAgreement(comparison.nearest(7, 5, limits), "nearest front sides from 0");
}

TEST_P(HemisphereAgreement, GivenHostileScene_AnswersAsEmbreeDoes) {
    expectAgreement(ktLeafKind::Unindexed);
}

TEST_P(HemisphereAgreement, GivenHostileSceneInPatches_AnswersAsEmbreeDoes) {
    expectAgreement(ktLeafKind::Patches);
}

TEST_P(HemisphereAgreement, GivenPatchesOrWideLeaves_AnswersTheSame) {
    const std::vector<ktTestMesh> meshes = GetParam().make();
    for (const std::uint32_t lanes : {16u, 8u, 4u}) {
        std::vector<std::uint32_t> visible[2];
        for (const auto kind : {ktLeafKind::Unindexed, ktLeafKind::Patches}) {
            ktTracerComparison comparison(meshes, lanes, kind);
            comparison.addSurfaceVertices(100, 3);
            visible[kind == ktLeafKind::Patches] = comparison.visible(32, 32, comparison.widest());
        }
        ASSERT_EQ(visible[0].size(), 100u);
        EXPECT_EQ(visible[0], visible[1]) << lanes << " lanes";
    }
}

TEST_P(HemisphereAgreement, GivenNarrowAndWideKernels_CountAlike) {
    const std::vector<ktTestMesh> meshes = GetParam().make();
    std::vector<std::uint32_t> widest;
    for (const std::uint32_t lanes : {16u, 8u, 4u}) {
        ktTracerComparison comparison(meshes, lanes);
        comparison.addSurfaceVertices(100, 2);
        const std::vector<std::uint32_t> visible = comparison.visible(32, 32, comparison.widest());
        ASSERT_EQ(visible.size(), 100u);
        if (widest.empty())
            widest = visible;
        for (std::size_t i = 0; i < visible.size(); ++i)
            EXPECT_NEAR(visible[i], widest[i], 1) << lanes << " lanes, vertex " << i; // of 1,024
    }
}

// So large that the build splits triangles by halving their boxes.
TEST(HemisphereAgreement, GivenLargeUnevenScene_AnswersAsEmbreeDoes) {
    ktTracerComparison comparison(ktHostileMeshes::largeUneven());
    comparison.addSurfaceVertices(120, 5);
    const ktTracerComparison::Result occlusion = comparison.occlusion(32, 32, comparison.widest());
    EXPECT_GT(occlusion.met, occlusion.rays / 2);
    EXPECT_EQ(occlusion.wrong, 0u);
    EXPECT_LE(static_cast<double>(occlusion.differing), 1e-5 * static_cast<double>(occlusion.rays));
    const ktTracerComparison::Result nearest = comparison.nearest(16, 16, comparison.widest());
    EXPECT_EQ(nearest.wrong, 0u);
    EXPECT_LE(static_cast<double>(nearest.differing), 1e-5 * static_cast<double>(nearest.rays));
}

namespace {

// Scenes with known occlusion at the origin; the normal points up.
std::vector<ktTestMesh> discAbove() {
    ktTestMesh mesh;
    mesh.addDisc(2, 1.5, 256);
    return {mesh};
}
std::vector<ktTestMesh> longWallBeside() {
    ktTestMesh mesh;
    mesh.addQuad({0.001, -1e4, -1}, {0, 2e4, 0}, {0, 0, 1e4});
    return {mesh};
}
std::vector<ktTestMesh> sphereAround() {
    ktTestMesh mesh;
    mesh.addSphere(3, 40, 80);
    return {mesh};
}

} // namespace

TEST(HemisphereAgreement, GivenClosedForms_DiffersInNoRay) {
    const struct {
        std::vector<ktTestMesh> (*make)();
        double open;
    } forms[] = {{discAbove, 1.5 * 1.5 / (1.5 * 1.5 + 2.0 * 2.0)}, {longWallBeside, 0.5}, {sphereAround, 0.0}};
    const float origin[3] = {0, 0, 0}, up[3] = {0, 0, 1};
    for (const auto& form : forms) {
        for (const std::uint32_t lanes : {4u, 8u, 16u}) {
            ktTracerComparison comparison(form.make(), lanes);
            comparison.addVertex(origin, up);
            for (const float minDistance : {0.0f, 1e-5f}) {
                ktRayLimits limits = comparison.widest();
                limits.minDistance = minDistance;
                const ktTracerComparison::Result result = comparison.occlusion(128, 128, limits);
                EXPECT_EQ(result.differing, 0u);
                EXPECT_NEAR(1 - static_cast<double>(result.met) / static_cast<double>(result.rays), form.open, 0.002);
            }
        }
    }
}
